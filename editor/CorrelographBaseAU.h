#pragma once

#include <array>
#include <memory>
#include <span>
#include <string>

#include "editor/ResizingBehavior.h"

namespace platform {
class CGContext;
}

namespace qov {

class AudioUnitViewController;

/// Draws the audio unit's capture as a goniometer (Lissajous figure of the two channels, rotated by
/// 45 degrees): a mono signal is a vertical line, one of opposite polarity a horizontal line. The
/// canvas is 256 x 256 units with silence in its middle. Main thread.
class CorrelographBaseAU {
 public:
    using ResizingBehavior = ResizingBehaviorOf<CorrelographBaseAU>;
    static constexpr std::size_t pointCount = 1024;
    using Points = std::array<platform::CGPoint, pointCount>;

    /// Draws on the current context; without one it is a fatal error. A no-op without an audio
    /// unit.
    void drawCorrelograph(const platform::CGRect& frame, ResizingBehavior resizing);

    /// Computes the points, in canvas units, from every (size / 1024)th of size samples a channel;
    /// with fewer than 1024 samples every point is that of the first one. The first and the last
    /// point are pinned to the middle. Samples of great amplitude give points far outside, infinite
    /// or NaN. The channels may be written while this reads them.
    const Points& computePoints(const float* left, const float* right, std::int32_t size);
    /// Draws the last computed points, in canvas units, as drawMode says.
    void drawPoints(platform::CGContext& context) const;

    static void keepDrawScale(platform::CGSize scale) { drawScale_ = scale; }

    float constant = 0.70710677f;      ///< 1/sqrt(2); the drawing has a literal of its own
    platform::CGFloat halfsize = 128;  ///< half the canvas
    std::weak_ptr<AudioUnitViewController> viewController;
    bool isNormalized = true;         ///< each picture to its own peak
    std::string drawMode = "points";  ///< "points", "ovals"; any other text draws one line

 private:
    inline static platform::CGSize drawScale_{1, 1};
    Points points_{};
};

}  // namespace qov
