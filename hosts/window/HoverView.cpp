#include "hosts/window/HoverView.h"

#include "hosts/window/layOver.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"

namespace qov::hosts {

HoverView::HoverView() {
    layOver(*this);
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
    auto shape = platform::UIBezierPath::roundedRect(rect.insetBy(1, 1), radius);
    platform::UIColor(ink_.withAlpha(0.07)).setFill();
    shape.fill();
    // At 0.75 the outline keeps a contrast of 3:1 with the plate at every brightness.
    platform::UIColor(ink_.withAlpha(0.75)).setStroke();
    shape.lineWidth = takesKeys_ ? 1.5 : 1;
    shape.stroke();
}

}  // namespace qov::hosts
