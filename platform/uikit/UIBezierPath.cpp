#include "platform/uikit/UIBezierPath.h"

#include "platform/uikit/UIGraphics.h"

namespace platform {

UIBezierPath UIBezierPath::arc(CGPoint center, CGFloat radius, CGFloat startAngle, CGFloat endAngle,
                               bool clockwise) {
    UIBezierPath path;
    path.addArc(center, radius, startAngle, endAngle, clockwise);
    return path;
}

void UIBezierPath::fill() const {
    auto* context = UIGraphicsGetCurrentContext();
    if (!context) return;
    context->beginPath();
    context->addPath(path_);
    context->fillPath();
}

void UIBezierPath::stroke() const {
    auto* context = UIGraphicsGetCurrentContext();
    if (!context) return;
    context->saveGState();
    context->setLineWidth(lineWidth);
    context->beginPath();
    context->addPath(path_);
    context->strokePath();
    context->restoreGState();
}

}  // namespace platform
