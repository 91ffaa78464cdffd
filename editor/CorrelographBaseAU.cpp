#include "editor/CorrelographBaseAU.h"

#include <cmath>
#include <numbers>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "editor/AudioUnitViewController.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/uikit/UIGraphics.h"

namespace qov {

namespace {

/// -1/sqrt(2): rotates by 45 degrees, with positive samples upward.
constexpr float rotation = -0.707107f;
/// Canvas units from the middle for a sample of 1 on one axis.
constexpr float fullScale = 80;
constexpr platform::CGFloat middle = 128;
constexpr platform::CGColor amber{1, 0.737, 0.155, 1};

// Marks are filled polygons: a stroke or an arc for each costs twice as much.

/// Half the width of a line, along x and along y, that rises by 45 degrees and is 1 wide.
constexpr platform::CGFloat side = std::numbers::sqrt2 / 4;
/// Such a line from the point to the point + (0.5, 0.5).
constexpr std::array<platform::CGPoint, 4> tick{
    {{-side, side}, {0.5 - side, 0.5 + side}, {0.5 + side, 0.5 - side}, {side, -side}}};

/// The circle in the unit square right and below of the point, as a polygon of the same area.
std::array<platform::CGPoint, 8> makeCircle() {
    std::array<platform::CGPoint, 8> corners;
    constexpr double angle = 2 * std::numbers::pi / corners.size();
    const double radius = 0.5 * std::sqrt(angle / std::sin(angle));
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const double at = (static_cast<double>(i) + 0.5) * angle;
        corners[i] = {0.5 + radius * std::cos(at), 0.5 + radius * std::sin(at)};
    }
    return corners;
}

/// The products are in single precision, the sum in double.
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
            // The gain follows the signed coordinates; deliberate, although it drifts in a block.
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
        context.fillMarks(tick, points_);
    } else if (drawMode == "ovals") {
        static const auto circle = makeCircle();
        context.fillMarks(circle, points_);
    } else {
        context.setLineWidth(0.5);
        context.strokePolygon(std::span(points_).first(pointCount - 1));  // the last is the first
    }
}

}  // namespace qov
