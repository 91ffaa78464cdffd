#include "platform/coregraphics/CGContext.h"

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"

namespace platform {

void CGContext::clipTo(const CGRect& rect) {
    beginPath();
    addRect(rect);
    clip();
}

void CGContext::fillRect(const CGRect& rect) {
    beginPath();
    addRect(rect);
    fillPath();
}

void CGContext::fillEllipse(const CGRect& rect) {
    beginPath();
    addEllipse(rect);
    fillPath();
}

void CGContext::strokeLine(CGPoint from, CGPoint to) {
    beginPath();
    moveTo(from);
    addLineTo(to);
    strokePath();
}

void CGContext::strokePolygon(std::span<const CGPoint> corners) {
    beginPath();
    for (const auto& p : corners) addLineTo(p);
    closePath();
    strokePath();
}

void CGContext::showText(std::string_view text, const CGFont& font, CGFloat size, CGPoint origin,
                         CGFloat tracking) {
    beginPath();
    addPath(font.outlines(text, size, origin, tracking));
    fillPath();
}

std::shared_ptr<const CGImage> CGBitmapContext::makeImage() const {
    const auto from = pixels();
    return std::make_shared<CGImage>(pixelWidth(), pixelHeight(),
                                     std::vector<std::uint32_t>(from.begin(), from.end()));
}

}  // namespace platform
