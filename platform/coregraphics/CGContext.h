#pragma once

#include <span>
#include <string_view>

#include "platform/coregraphics/CGColor.h"
#include "platform/coregraphics/CGPath.h"

namespace platform {

class CGBitmapContext;
class CGFont;
class CGImage;

/// How a line ends: at its point, or half a width beyond it, round or square.
enum class CGLineCap { butt, round, square };
/// How two pieces of a line meet: in a point, round, or cut off.
enum class CGLineJoin { miter, round, bevel };

/// The drawing interface. A back end is a source file that subclasses it and defines the factory
/// in CGBitmapContext.h.
/// The origin is the upper left corner and y grows downward. One thread at a time.
class CGContext {
 public:
    CGContext() = default;
    CGContext(const CGContext&) = delete;
    CGContext& operator=(const CGContext&) = delete;
    virtual ~CGContext() = default;

    /// Saves coordinates, clip, colours, alpha and line style; the path is not part of the state.
    virtual void saveGState() = 0;
    /// A no-op without a saved state.
    virtual void restoreGState() = 0;

    virtual void concatenate(const CGAffineTransform& transform) = 0;
    void translateBy(CGFloat x, CGFloat y) { concatenate(CGAffineTransform::translation(x, y)); }
    void scaleBy(CGFloat x, CGFloat y) { concatenate(CGAffineTransform::scale(x, y)); }
    /// Radians, clockwise on the screen.
    void rotateBy(CGFloat angle) { concatenate(CGAffineTransform::rotation(angle)); }
    /// From user space to the target's pixels.
    virtual CGAffineTransform ctm() const = 0;

    virtual void setFillColor(const CGColor& color) = 0;
    virtual void setStrokeColor(const CGColor& color) = 0;
    virtual void setLineWidth(CGFloat width) = 0;
    virtual void setLineCap(CGLineCap cap) = 0;
    virtual void setLineJoin(CGLineJoin join) = 0;
    /// Lengths of dashes and gaps, alternating; an empty list draws unbroken lines.
    virtual void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) = 0;
    /// Multiplies the alpha of everything that is drawn; 0..1.
    virtual void setAlpha(CGFloat alpha) = 0;

    // Points of a path may lie anywhere: one with an infinite or NaN coordinate is skipped, and one
    // far outside the picture does not disturb what is drawn inside.

    virtual void beginPath() = 0;
    virtual void moveTo(CGPoint p) = 0;
    virtual void addLineTo(CGPoint p) = 0;
    virtual void addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) = 0;
    virtual void closePath() = 0;
    virtual void addRect(const CGRect& rect);
    virtual void addPath(const CGPath& path);
    void addEllipse(const CGRect& rect) { addPath(CGPath::ellipse(rect)); }

    // These three clear the path. Inside is where the winding number is not zero.

    virtual void strokePath() = 0;
    virtual void fillPath() = 0;
    virtual void clip() = 0;
    void clipTo(const CGRect& rect);
    /// The bounds of the clip, in user space.
    virtual CGRect clipBoundingBox() const = 0;

    void fillRect(const CGRect& rect);
    void fillEllipse(const CGRect& rect);
    void strokeLine(CGPoint from, CGPoint to);
    /// Strokes the closed line through the corners like strokePath(). A back end may have a faster
    /// way for a thin line that often crosses itself.
    virtual void strokePolygon(std::span<const CGPoint> corners);
    /// Fills the small polygon about each of the places that the clip shows, one after the other,
    /// so that they add up where they overlap. A back end may have a faster way for many.
    virtual void fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places);
    /// Makes the rectangle transparent.
    virtual void clearRect(const CGRect& rect) = 0;

    /// Collects what follows in a layer, which the end composites with the alpha set before.
    virtual void beginTransparencyLayer() = 0;
    virtual void endTransparencyLayer() = 0;

    /// Fills the clip; the first and last colours continue beyond the ends.
    virtual void drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                                    CGPoint end) = 0;
    /// The same, from one circle to the other.
    virtual void drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                                    CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) = 0;

    /// Scales the image to the rectangle, with smoothing unless pixels meet pixels.
    virtual void drawImage(const CGImage& image, const CGRect& rect) = 0;
    /// The same for another context's bitmap, without a copy where both have the same back end.
    virtual void drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) = 0;
    /// The same for a bitmap that is opaque all over; a back end may have a faster way.
    virtual void copyBitmap(const CGBitmapContext& bitmap, const CGRect& rect) {
        drawBitmap(bitmap, rect);
    }

    /// Draws one line of UTF-8 in the fill colour, its base line starting at origin. Size and
    /// origin in points, tracking in ems.
    virtual void showText(std::string_view text, const CGFont& font, CGFloat size, CGPoint origin,
                          CGFloat tracking = 0);
};

}  // namespace platform
