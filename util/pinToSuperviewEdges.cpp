#include "util/pinToSuperviewEdges.h"

#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIView.h"

namespace qov {

void pinToSuperviewEdges(platform::UIView& view) {
    auto* const superview = view.superview();
    if (!superview) return;
    view.setTranslatesAutoresizingMaskIntoConstraints(false);
    platform::NSLayoutConstraint::activate({
        view.topAnchor().constraintEqualTo(superview->topAnchor()),
        view.leadingAnchor().constraintEqualTo(superview->leadingAnchor()),
        view.bottomAnchor().constraintEqualTo(superview->bottomAnchor()),
        view.trailingAnchor().constraintEqualTo(superview->trailingAnchor()),
    });
}

}  // namespace qov
