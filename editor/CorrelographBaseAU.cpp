#include "editor/CorrelographBaseAU.h"

#include <algorithm>

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
constexpr platform::CGFloat lineWidth = 0.5;
/// Shapes stroked at a time. A rasteriser sorts all edges of a path in every row, so a path of 1024
/// crossing segments costs three to four times what its pieces cost.
constexpr std::size_t shapesPerPath = 8;

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
    if (drawMode == "points") {
        drawMarks(context, 0, 0.5);
    } else if (drawMode == "ovals") {
        // A line of no length with round ends is a circle.
        context.setLineCap(platform::CGLineCap::round);
        drawMarks(context, 0.5, 0.5);
    } else {
        drawLine(context);
    }
}

void CorrelographBaseAU::drawMarks(platform::CGContext& context, platform::CGFloat from,
                                   platform::CGFloat to) const {
    context.setLineWidth(1);
    // Neighbours, which often overlap, go into different paths: overlapping marks add up.
    constexpr std::size_t block = 2 * shapesPerPath;
    for (std::size_t path = 0; path < pointCount / shapesPerPath; ++path) {
        const std::size_t first = path / 2 * block + path % 2;
        for (std::size_t i = 0; i < block; i += 2) {
            const auto [x, y] = points_[first + i];
            context.moveTo({x + from, y + from});
            context.addLineTo({x + to, y + to});
        }
        context.strokePath();
    }
}

void CorrelographBaseAU::drawLine(platform::CGContext& context) const {
    constexpr std::size_t corners = pointCount - 1;  // the first and the last point are the same
    const auto middleAfter = [&](std::size_t corner) {
        const auto &p = points_[corner % corners], &q = points_[(corner + 1) % corners];
        return platform::CGPoint{(p.x + q.x) / 2, (p.y + q.y) / 2};
    };
    context.setLineWidth(lineWidth);
    // Pieces on top of each other would add up to a bolder line.
    const std::size_t piece = isStraight() ? corners : shapesPerPath;
    for (std::size_t first = 0; first < corners; first += piece) {
        const std::size_t end = std::min(first + piece, corners);
        // Cut in the middle of a segment, so that every corner keeps its join.
        context.moveTo(middleAfter(first + corners - 1));
        for (std::size_t i = first; i < end; ++i) context.addLineTo(points_[i]);
        context.addLineTo(middleAfter(end - 1));
        context.strokePath();
    }
}

bool CorrelographBaseAU::isStraight() const {
    platform::CGPoint far;
    for (const auto& p : points_) {
        const platform::CGPoint q{p.x - middle, p.y - middle};
        if (std::hypot(q.x, q.y) > std::hypot(far.x, far.y)) far = q;
    }
    const auto reach = std::hypot(far.x, far.y);
    return std::ranges::all_of(points_, [&](const auto& p) {
        return std::abs((p.x - middle) * far.y - (p.y - middle) * far.x) <= lineWidth / 2 * reach;
    });
}

}  // namespace qov
