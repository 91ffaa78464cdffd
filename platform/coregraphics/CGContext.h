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

/// What is drawn on. An interface: a back end is a subclass behind a factory of its own.
/// The origin is the upper left corner and y grows downward. One thread at a time.
class CGContext {
 public:
    CGContext() = default;
    CGContext(const CGContext&) = delete;
    CGContext& operator=(const CGContext&) = delete;
    virtual ~CGContext() = default;

    /// Coordinates, clip, colours, alpha and line style; the path is not part of the state.
    virtual void saveGState() = 0;
    /// Without a saved state nothing happens.
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
    virtual void setMiterLimit(CGFloat limit) = 0;
    /// Lengths of dashes and gaps in turn; an empty list draws unbroken lines.
    virtual void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) = 0;
    /// Multiplies the alpha of all that is drawn.
    virtual void setAlpha(CGFloat alpha) = 0;

    virtual void beginPath() = 0;
    virtual void moveTo(CGPoint p) = 0;
    virtual void addLineTo(CGPoint p) = 0;
    virtual void addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) = 0;
    virtual void closePath() = 0;
    virtual void addRect(const CGRect& rect) = 0;
    virtual void addPath(const CGPath& path) = 0;
    void addEllipse(const CGRect& rect) { addPath(CGPath::ellipse(rect)); }

    /// These three use the path up.
    virtual void strokePath() = 0;
    virtual void fillPath(bool evenOdd = false) = 0;
    virtual void clip(bool evenOdd = false) = 0;
    void clipTo(const CGRect& rect);
    /// Of what may still be drawn on, in user space.
    virtual CGRect clipBoundingBox() const = 0;

    void fillRect(const CGRect& rect);
    void fillEllipse(const CGRect& rect);
    void strokeLine(CGPoint from, CGPoint to);
    /// Makes the rectangle transparent, whatever lies there.
    virtual void clearRect(const CGRect& rect) = 0;

    /// What follows is drawn apart and put down as one with the alpha of this moment.
    virtual void beginTransparencyLayer() = 0;
    virtual void endTransparencyLayer() = 0;

    /// Over all of the clip; the first and last colours continue beyond the ends.
    virtual void drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                                    CGPoint end) = 0;
    /// The same, from one circle to the other.
    virtual void drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                                    CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) = 0;

    /// Scaled to fill the rectangle; smoothly where it does not fit pixel for pixel.
    virtual void drawImage(const CGImage& image, const CGRect& rect) = 0;
    /// The same for a bitmap that is still drawn on: compositing without a copy. Not onto itself.
    virtual void drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) = 0;

    /// One line in the fill colour, its base line starting at origin.
    virtual void showText(std::string_view text, const CGFont& font, CGFloat size, CGPoint origin,
                          CGFloat tracking = 0);

    // Many small shapes at once. These draw one by one; a back end may know a faster way to a
    // picture that looks the same. Positions that are not finite are skipped.

    /// Strokes a separate closed line from each point to the point + delta.
    virtual void strokeTicks(std::span<const CGPoint> points, CGSize delta);
    /// Fills an ellipse in the rectangle (x, y, size) at each point.
    virtual void fillEllipses(std::span<const CGPoint> points, CGSize size);
    /// Strokes one line through all points, closed if asked.
    virtual void strokePolyline(std::span<const CGPoint> points, bool closed);
};

}  // namespace platform
