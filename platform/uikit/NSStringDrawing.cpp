#include "platform/uikit/NSStringDrawing.h"

#include <limits>
#include <vector>

#include "platform/uikit/UIGraphics.h"

namespace platform {

namespace {

constexpr CGFloat unlimited = std::numeric_limits<CGFloat>::infinity();

CGFloat widthOf(std::string_view line, const NSTextAttributes& attributes) {
    const CGFloat size = attributes.font.pointSize();
    if (size <= 0) return 0;
    return attributes.font.cgFont().width(line, attributes.kern / size) * size;
}

/// One paragraph, broken at its last blank that keeps a line within the width; a word that is wider
/// on its own stays whole.
void breakParagraph(std::string_view text, CGFloat width, const NSTextAttributes& attributes,
                    std::vector<std::string_view>& lines) {
    while (true) {
        std::size_t end = text.size();
        while (widthOf(text.substr(0, end), attributes) > width) {
            const std::size_t blank = text.rfind(' ', end - 1);
            if (blank == std::string_view::npos || blank == 0) break;
            end = blank;
        }
        if (end != text.size() && widthOf(text.substr(0, end), attributes) > width)
            end = std::min(text.find(' ', 1), text.size());
        lines.push_back(text.substr(0, end));
        if (end >= text.size()) return;
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> breakLines(std::string_view text, CGFloat width,
                                         const NSTextAttributes& attributes) {
    std::vector<std::string_view> lines;
    while (true) {
        const std::size_t end = text.find('\n');
        breakParagraph(text.substr(0, end), width, attributes, lines);
        if (end == std::string_view::npos) return lines;
        text.remove_prefix(end + 1);
    }
}

}  // namespace

CGSize sizeWithAttributes(std::string_view text, const NSTextAttributes& attributes) {
    CGSize size;
    for (const auto line : breakLines(text, unlimited, attributes)) {
        size.width = std::max(size.width, widthOf(line, attributes));
        size.height += attributes.font.lineHeight();
    }
    return size;
}

void drawAtPoint(std::string_view text, CGPoint point, const NSTextAttributes& attributes) {
    NSTextAttributes leftAligned = attributes;
    leftAligned.alignment = NSTextAlignment::left;
    drawInRect(text, {point, {unlimited, 0}}, leftAligned);
}

void drawInRect(std::string_view text, const CGRect& rect, const NSTextAttributes& attributes) {
    auto* context = UIGraphicsGetCurrentContext();
    const CGFloat size = attributes.font.pointSize();
    if (!context || size <= 0) return;
    context->setFillColor(attributes.foregroundColor.cgColor());
    CGFloat baseline = rect.minY() + attributes.font.ascender();
    for (const auto line : breakLines(text, rect.width(), attributes)) {
        CGFloat x = rect.minX();
        if (attributes.alignment != NSTextAlignment::left) {
            // The room after the last glyph is no part of what is seen.
            const CGFloat rest = rect.width() - (widthOf(line, attributes) - attributes.kern);
            x += attributes.alignment == NSTextAlignment::center ? rest / 2 : rest;
        }
        context->showText(line, attributes.font.cgFont(), size, {x, baseline},
                          attributes.kern / size);
        baseline += attributes.font.lineHeight();
    }
}

}  // namespace platform
