#include "hosts/window/HoverView.h"

#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"

namespace qov::hosts {

HoverView::HoverView() {
    setUserInteractionEnabled(false);
    setHidden(true);
    // Every margin and side grows with the panel.
    setAutoresizingMask(
        platform::UIViewAutoresizingFlexibleLeftMargin | platform::UIViewAutoresizingFlexibleWidth |
        platform::UIViewAutoresizingFlexibleRightMargin |
        platform::UIViewAutoresizingFlexibleTopMargin | platform::UIViewAutoresizingFlexibleHeight |
        platform::UIViewAutoresizingFlexibleBottomMargin);
}

void HoverView::mark(const std::optional<platform::CGRect>& area, bool takesKeys,
                     const platform::CGColor& ink) {
    setHidden(!area);
    if (!area || (*area == frame() && takesKeys == takesKeys_ && ink == ink_)) return;
    takesKeys_ = takesKeys;
    ink_ = ink;
    setFrame(*area);
    setNeedsDisplay();
}

void HoverView::draw(platform::CGRect rect) {
    constexpr platform::CGFloat radius = 5;
    const auto shape = platform::UIBezierPath::roundedRect(rect.insetBy(0.5, 0.5), radius);
    platform::UIColor(ink_.withAlpha(0.06)).setFill();
    shape.fill();
    if (!takesKeys_) return;
    platform::UIColor(ink_.withAlpha(0.3)).setStroke();
    shape.stroke();
}

}  // namespace qov::hosts
