#include "editor/CorrelographBaseAU.h"

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "editor/AudioUnitViewController.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/uikit/UIGraphics.h"

namespace qov {

namespace {

/// -1/sqrt(2): turns by 45 degrees, with positive samples upward.
constexpr float rotation = -0.707107f;
/// Canvas units from the middle for a sample of 1 on one axis.
constexpr float fullScale = 80;
constexpr platform::CGFloat middle = 128;
constexpr platform::CGColor amber{1, 0.737, 0.155, 1};

/// Products in single precision, widened before the middle is added.
platform::CGPoint place(float u, float v) {
    return {static_cast<double>(u * fullScale) + middle,
            static_cast<double>(v * fullScale) + middle};
}

}  // namespace

void CorrelographBaseAU::drawCorrelograph(const platform::CGRect& frame,
                                          ResizingBehavior resizing) {
    const auto controller = viewController.lock();
    if (!controller || !controller->audioUnit()) return;
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) platform::fatalError("the correlograph is drawn without a graphics context");
    context->saveGState();
    const platform::CGRect target = resizing.apply({0, 0, 256, 256}, frame);
    context->translateBy(target.minX(), target.minY());
    context->scaleBy(target.width() * 0.00390625, target.height() * 0.00390625);
    context->saveGState();
    auto& audioUnit = *controller->audioUnit();
    const float* left = audioUnit.getBufferLeft();
    const float* right = audioUnit.getBufferRight();
    if (left && right) {
        computePoints(left, right, audioUnit.getBufferSize());
        drawPoints(*context);
    }
    context->restoreGState();
    context->restoreGState();
}

const CorrelographBaseAU::Points& CorrelographBaseAU::computePoints(const float* left,
                                                                    const float* right,
                                                                    std::int32_t size) {
    const std::ptrdiff_t step = size / static_cast<std::int32_t>(pointCount);
    if (isNormalized) {
        float peak = 0;
        for (std::size_t i = 0; i < pointCount; ++i) {
            const float l = std::abs(left[i * step]), r = std::abs(right[i * step]);
            if (l > peak) peak = l;
            if (r > peak) peak = r;
        }
        float gain = peak == 0 ? 1.0f : 1.0f / peak;
        for (std::size_t i = 0; i < pointCount; ++i) {
            const float l = left[i * step], r = right[i * step];
            const float u = gain * (l - r) * rotation, v = gain * (l + r) * rotation;
            points_[i] = place(u, v);
            // The gain follows the coordinates, signs and all; kept as it is seen today.
            if (std::abs(u) > gain) gain = u;
            if (std::abs(v) > gain) gain = v;
        }
    } else {
        for (std::size_t i = 0; i < pointCount; ++i) {
            const float l = left[i * step], r = right[i * step];
            points_[i] = place((l - r) * rotation, (l + r) * rotation);
        }
    }
    points_.front() = points_.back() = {middle, middle};
    return points_;
}

void CorrelographBaseAU::drawPoints(platform::CGContext& context) const {
    context.setStrokeColor(amber);
    context.setFillColor(amber);
    if (drawMode == "points") {
        context.setLineWidth(1);
        context.strokeTicks(points_, {0.5, 0.5});
    } else if (drawMode == "ovals") {
        context.fillEllipses(points_, {1, 1});
    } else {
        // From the middle and back to it: the first and last points lie there.
        context.setLineWidth(0.5);
        context.strokePolyline(points_, true);
    }
}

}  // namespace qov
