#include "editor/panelDrawing.h"

#include <array>
#include <cmath>
#include <numbers>

namespace qov {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGLineCap;
using platform::CGPath;
using platform::CGPoint;
using platform::CGRect;

CGPoint PanelText::origin() const {
    const bool isRight = alignment == platform::NSTextAlignment::right;
    return {isRight ? box.maxX() - width() : box.minX(),
            box.midY() + font()->capHeight() * size / 2};
}

void PanelText::draw(CGContext& context, const CGColor& color) const {
    context.setFillColor(color);
    context.showText(words, *font(), size, origin(), tracking);
}

CGFloat radians(CGFloat degrees) {
    return degrees * std::numbers::pi / 180;
}

void fill(CGContext& context, const CGPath& path, const CGColor& color) {
    context.setFillColor(color);
    context.beginPath();
    context.addPath(path);
    context.fillPath();
}

void stroke(CGContext& context, const CGPath& path, const CGColor& color, CGFloat width,
            CGLineCap cap) {
    context.setStrokeColor(color);
    context.setLineWidth(width);
    context.setLineCap(cap);
    context.setLineJoin(platform::CGLineJoin::round);
    context.beginPath();
    context.addPath(path);
    context.strokePath();
}

CGPath line(CGPoint from, CGPoint to) {
    CGPath path;
    path.moveTo(from);
    path.addLineTo(to);
    return path;
}

CGPath arc(CGPoint middle, CGFloat radius, CGFloat fromDegrees, CGFloat toDegrees) {
    CGPath path;
    path.addArc(middle, radius, radians(fromDegrees - 90), radians(toDegrees - 90),
                toDegrees > fromDegrees);
    return path;
}

CGPoint around(CGPoint middle, CGFloat radius, CGFloat degrees) {
    return {middle.x + radius * std::sin(radians(degrees)),
            middle.y - radius * std::cos(radians(degrees))};
}

void fillVertically(CGContext& context, const CGPath& path, const CGColor& top,
                    const CGColor& bottom) {
    const CGRect box = path.boundingBox();
    context.saveGState();
    context.beginPath();
    context.addPath(path);
    context.clip();
    context.drawLinearGradient(
        std::array{platform::CGGradientStop{0, top}, platform::CGGradientStop{1, bottom}},
        {0, box.minY()}, {0, box.maxY()});
    context.restoreGState();
}

void drawSlot(CGContext& context, const PanelStyle& style, const CGRect& box, CGFloat radius,
              const CGColor& edge) {
    const CGPath path = CGPath::roundedRect(box, radius);
    fill(context, path, style.ground);
    // A light line along the lower edge makes it look recessed.
    stroke(context, CGPath::roundedRect(box.offsetBy(0, 1), radius), style.plateEdge, 1);
    stroke(context, path, edge, 1);
}

void drawButton(CGContext& context, const PanelStyle& style, const CGRect& box, bool isPressed,
                const CGColor& edge) {
    const CGPath shape = CGPath::roundedRect(box, 4);
    fill(context, CGPath::roundedRect(box.offsetBy(0, 1), 4), CGColor::gray(0, 0.3));
    fillVertically(context, shape, isPressed ? style.ground : style.knobTop, style.knobBottom);
    stroke(context, shape, edge, 1);
}

}  // namespace qov
