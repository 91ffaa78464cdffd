#include "platform/coregraphics/CGContext.h"

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"

namespace platform {

namespace {

bool isFinite(CGPoint p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

}  // namespace

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

void CGContext::showText(std::string_view text, const CGFont& font, CGFloat size, CGPoint origin,
                         CGFloat tracking) {
    beginPath();
    addPath(font.outlines(text, size, origin, tracking));
    fillPath();
}

void CGContext::strokeTicks(std::span<const CGPoint> points, CGSize delta) {
    for (const auto& p : points) {
        if (!isFinite(p)) continue;
        beginPath();
        moveTo(p);
        addLineTo({p.x + delta.width, p.y + delta.height});
        closePath();
        strokePath();
    }
}

void CGContext::fillEllipses(std::span<const CGPoint> points, CGSize size) {
    for (const auto& p : points)
        if (isFinite(p)) fillEllipse({p, size});
}

void CGContext::strokePolyline(std::span<const CGPoint> points, bool closed) {
    beginPath();
    bool started = false;
    for (const auto& p : points) {
        if (!isFinite(p)) continue;
        if (started) {
            addLineTo(p);
        } else {
            moveTo(p);
        }
        started = true;
    }
    if (!started) return;
    if (closed) closePath();
    strokePath();
}

std::shared_ptr<const CGImage> CGBitmapContext::makeImage() const {
    const auto from = pixels();
    return std::make_shared<CGImage>(pixelWidth(), pixelHeight(),
                                     std::vector<std::uint32_t>(from.begin(), from.end()));
}

}  // namespace platform
