#include "hosts/window/ValueField.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "editor/panelDrawing.h"
#include "hosts/window/layOver.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/UIGraphics.h"

namespace qov::hosts {

using platform::CGColor;
using platform::CGFloat;
using platform::CGPath;
using platform::CGRect;
using platform::Key;

namespace {

constexpr std::ptrdiff_t longest = 48;  // characters; a file's name has room for so many
constexpr CGColor red{1, 0.35, 0.28, 1};

/// Of UTF-8.
bool beginsCharacter(char byte) {
    return (byte & 0xC0) != 0x80;
}

}  // namespace

ValueField::ValueField() {
    layOver(*this);
}

void ValueField::open(std::string text, const CGRect& frame) {
    text_ = std::move(text);
    caret_ = text_.size();
    isAllSelected_ = true;
    isRefused_ = false;
    setFrame(frame);
    if (superview()) superview()->bringSubviewToFront(*this);
    setHidden(false);
    setNeedsDisplay();
}

void ValueField::refuse() {
    isRefused_ = true;
    setNeedsDisplay();
}

void ValueField::erase(std::size_t from, std::size_t to) {
    if (isAllSelected_) from = 0, to = text_.size();
    text_.erase(from, to - from);
    caret_ = from;
}

std::size_t ValueField::before(std::size_t place) const {
    while (place > 0 && !beginsCharacter(text_[--place])) continue;
    return place;
}

std::size_t ValueField::behind(std::size_t place) const {
    while (place < text_.size() && !beginsCharacter(text_[++place])) continue;
    return place;
}

void ValueField::key(const platform::KeyStroke& stroke) {
    const auto old = text_;
    switch (stroke.key) {
        case Key::backspace:
            erase(before(caret_), caret_);
            break;
        case Key::forwardDelete:
            erase(caret_, behind(caret_));
            break;
        case Key::left:
            caret_ = isAllSelected_ ? 0 : before(caret_);
            break;
        case Key::right:
            caret_ = isAllSelected_ ? text_.size() : behind(caret_);
            break;
        case Key::home:
            caret_ = 0;
            break;
        case Key::end:
            caret_ = text_.size();
            break;
        default:
            if (stroke.text.empty() || stroke.held.control) return;
            if (isAllSelected_) erase(0, 0);
            if (std::count_if(text_.begin(), text_.end(), beginsCharacter) == longest)
                return refuse();
            text_.insert(caret_, stroke.text);
            caret_ += stroke.text.size();
            break;
    }
    isAllSelected_ = false;
    if (text_ != old) isRefused_ = false;
    setNeedsDisplay();
}

void ValueField::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    static const auto font = platform::CGFont::named("HelveticaNeue-CondensedBold");
    const CGFloat size = rect.height() * 0.44, left = rect.height() * 0.3;
    const CGFloat base = rect.midY() + font->capHeight() * size / 2;
    const auto widthOf = [&](std::string_view part) { return font->width(part) * size; };

    const auto ground = CGPath::roundedRect(rect.insetBy(1, 1), 4);
    context->setFillColor(CGColor::gray(0.05));
    context->addPath(ground);
    context->fillPath();
    context->setStrokeColor(isRefused_ ? red : emphasisColor);
    context->setLineWidth(2);
    context->addPath(ground);
    context->strokePath();

    context->clipTo(rect.insetBy(left / 2, 2));
    const CGFloat caret = widthOf(std::string_view(text_).substr(0, caret_));
    // A text that is too long is shown from where its caret can be seen.
    context->translateBy(left - std::max(0.0, caret - (rect.width() - 2 * left)), 0);
    const CGRect line(0, base - size, widthOf(text_), size * 1.28);
    if (isAllSelected_) {
        context->setFillColor(emphasisColor.withAlpha(0.38));
        context->fillRect(line.insetBy(-2, 0));
    }
    context->setFillColor(CGColor::gray(0.96));
    context->showText(text_, *font, size, {0, base});
    if (isAllSelected_) return;
    context->setFillColor(emphasisColor);
    context->fillRect({caret + 0.5, line.minY(), 1.5, line.height()});
}

}  // namespace qov::hosts
