#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/coregraphics/CGContext.h"

namespace platform {

/// A context that records its calls instead of painting. Two records are equal if the same calls
/// were made with the same bits; equal records paint the same picture. A record keeps its memory,
/// so recording again allocates only when it grows.
class DrawingRecord final : public CGContext {
 public:
    /// Clears the record for a target of this size in points and of scale pixels a point.
    void begin(CGSize size, CGFloat scale);
    /// Makes the recorded calls on another context.
    void play(CGContext& on) const;
    /// The pixels that the calls may paint: not much more than those that they do, where these are
    /// filled paths, lines and marks; null if none.
    CGRect painted() const { return painted_; }
    /// Whether pixels may lose what was there before.
    bool erases() const { return erases_; }
    bool operator==(const DrawingRecord& other) const { return bytes_ == other.bytes_; }
    void swap(DrawingRecord& other) noexcept;

    void saveGState() override;
    void restoreGState() override;
    void concatenate(const CGAffineTransform& transform) override;
    CGAffineTransform ctm() const override { return state_.ctm; }

    void setFillColor(const CGColor& color) override;
    void setStrokeColor(const CGColor& color) override;
    void setLineWidth(CGFloat width) override;
    void setLineCap(CGLineCap cap) override;
    void setLineJoin(CGLineJoin join) override;
    void setLineDash(CGFloat phase, std::span<const CGFloat> lengths) override;
    void setAlpha(CGFloat alpha) override;

    void beginPath() override;
    void moveTo(CGPoint p) override;
    void addLineTo(CGPoint p) override;
    void addCurveTo(CGPoint control1, CGPoint control2, CGPoint p) override;
    void closePath() override;
    void addRect(const CGRect& rect) override;
    void addPath(const CGPath& path) override;

    void strokePath() override;
    void fillPath() override;
    void clip() override;
    CGRect clipBoundingBox() const override;
    void strokePolygon(std::span<const CGPoint> corners) override;
    void fillMarks(std::span<const CGPoint> outline, std::span<const CGPoint> places) override;
    void clearRect(const CGRect& rect) override;

    void beginTransparencyLayer() override;
    void endTransparencyLayer() override;

    void drawLinearGradient(std::span<const CGGradientStop> stops, CGPoint start,
                            CGPoint end) override;
    void drawRadialGradient(std::span<const CGGradientStop> stops, CGPoint startCenter,
                            CGFloat startRadius, CGPoint endCenter, CGFloat endRadius) override;

    /// Copies the pixels: the image need not outlive the call.
    void drawImage(const CGImage& image, const CGRect& rect) override;
    void drawBitmap(const CGBitmapContext& bitmap, const CGRect& rect) override;
    /// Keeps a pointer to the font: fonts live as long as the program.
    void showText(std::string_view text, const CGFont& font, CGFloat size, CGPoint origin,
                  CGFloat tracking) override;

 private:
    class Reader;
    using Replay = void (*)(Reader& in, CGContext& on);
    /// For the queries ctm() and clipBoundingBox().
    struct State {
        CGAffineTransform ctm;
        CGRect clip;  // in pixels
        CGFloat lineWidth = 1;
    };

    template <auto Method, class... T>
    void record(const T&... arguments);
    template <class... T>
    void putArguments(void (CGContext::*)(T...), const std::remove_cvref_t<T>&... arguments);
    template <class T>
    void put(const T& value);
    template <class T>
    void put(std::span<const T> values);
    void put(std::string_view text);
    void put(const CGFont& font);
    void put(const CGPath& path);
    void put(const CGImage& image);
    void putImage(int width, int height, std::span<const std::uint32_t> pixels);
    void append(std::span<const std::byte> bytes);
    void extendPath(CGPoint p);
    /// What is painted lies within the clip, and these pixels or the distance from them.
    void paint(const CGRect& within, CGFloat distance);
    void paint() { paint(state_.clip, 0); }
    CGFloat reachOfStrokes() const;

    std::vector<std::byte> bytes_;
    std::vector<State> saved_;
    State state_;
    CGRect path_ = CGRect::null();  // bounds of the current path, in pixels
    CGRect painted_ = CGRect::null();
    bool erases_ = false;
};

}  // namespace platform
