#include "platform/uikit/UIButton.h"

#include <utility>

#include "platform/uikit/NSStringDrawing.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIFont.h"
#include "platform/uikit/UITapGestureRecognizer.h"

namespace platform {
namespace {

constexpr CGFloat kCorner = 6;
constexpr CGFloat kTitleSize = 14;

}  // namespace

void UIButton::setTitle(std::string title) {
    title_ = std::move(title);
    setNeedsDisplay();
}

void UIButton::setTintColor(const UIColor& color) {
    tint_ = color;
    setNeedsDisplay();
}

void UIButton::draw(CGRect rect) {
    const auto box = rect.insetBy(1, 1);
    if (box.isNull()) return;
    auto outline = UIBezierPath::roundedRect(box, kCorner);
    UIColor(isHighlighted() ? 0.35 : 0.12, 0.8).setFill();
    outline.fill();
    tint_.setStroke();
    outline.stroke();
    if (title_.empty()) return;
    NSTextAttributes attributes;
    attributes.font = UIFont("HelveticaNeue-CondensedBold", kTitleSize);
    attributes.foregroundColor = tint_;
    const auto size = sizeWithAttributes(title_, attributes);
    drawAtPoint(title_, {rect.midX() - size.width / 2, rect.midY() - size.height / 2}, attributes);
}

bool UIButton::gestureRecognizerShouldBegin(const UIGestureRecognizer& recognizer) {
    return !dynamic_cast<const UITapGestureRecognizer*>(&recognizer);
}

}  // namespace platform
