#pragma once

#include <array>
#include <memory>
#include <string>

#include "editor/ResizingBehavior.h"

namespace platform {
class CGContext;
}

namespace qov {

class AudioUnitViewController;

/// Draws the audio unit's capture as a goniometer: the two channels against each other, turned by
/// 45 degrees, so that a mono signal stands upright and one of opposite polarity lies flat. The
/// canvas is 256 x 256 with the origin of the signal in its middle. Main thread.
class CorrelographBaseAU {
 public:
    using ResizingBehavior = ResizingBehaviorOf<CorrelographBaseAU>;
    static constexpr std::size_t pointCount = 1024;
    using Points = std::array<platform::CGPoint, pointCount>;

    /// On the current context, which has to be there, unless there is no audio unit to show.
    void drawCorrelograph(const platform::CGRect& frame, ResizingBehavior resizing);

    /// The picture of size samples a channel: every size/1024th of them (the first one over and
    /// over where there are fewer than 1024). The first and the last point lie in the middle. The
    /// channels may be written while this reads them.
    const Points& computePoints(const float* left, const float* right, std::int32_t size);
    /// The points as drawMode says, in canvas units.
    void drawPoints(platform::CGContext& context) const;

    static void keepDrawScale(platform::CGSize scale) { drawScale_ = scale; }

    float constant = 0.70710677f;      ///< 1/sqrt(2); the drawing has a literal of its own
    platform::CGFloat halfsize = 128;  ///< half the canvas
    std::weak_ptr<AudioUnitViewController> viewController;
    bool isNormalized = true;         ///< each picture to its own peak
    std::string drawMode = "points";  ///< "points", "ovals", anything else: one line

 private:
    inline static platform::CGSize drawScale_{1, 1};
    Points points_{};
};

}  // namespace qov
