#include "platform/coregraphics/CGContext.h"

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"

namespace platform {

void CGContext::addRect(const CGRect& r) {
    moveTo({r.minX(), r.minY()});
    addLineTo({r.maxX(), r.minY()});
    addLineTo({r.maxX(), r.maxY()});
    addLineTo({r.minX(), r.maxY()});
    closePath();
}

void CGContext::addPath(const CGPath& path) {
    const CGPoint* p = path.points().data();
    for (const auto element : path.elements()) {
        switch (element) {
            case CGPath::Element::moveTo:
                moveTo(*p++);
                break;
            case CGPath::Element::lineTo:
                addLineTo(*p++);
                break;
            case CGPath::Element::curveTo:
                addCurveTo(p[0], p[1], p[2]);
                p += 3;
                break;
            case CGPath::Element::close:
                closePath();
                break;
        }
    }
}

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

void CGContext::fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) {
    const auto visible = clipBoundingBox().insetBy(-1, -1);
    for (const auto& p : places) {
        if (!visible.contains(p)) continue;
        for (const auto& corner : outline) addLineTo({p.x + corner.x, p.y + corner.y});
        closePath();
        fillPath();
    }
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
