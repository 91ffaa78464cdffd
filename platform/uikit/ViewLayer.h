#pragma once

#include <memory>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/DrawingRecord.h"

namespace platform {

class CGBitmapContext;
class UIView;

/// A view's drawing, kept as a bitmap and as the list of what was drawn.
///
/// draw() is played into the list first; the bitmap is made again only if the list came out
/// different. So a view may be marked as often as one likes: as long as it would draw the same,
/// nothing is painted and nothing is put together anew.
class ViewLayer {
 public:
    ViewLayer();
    ~ViewLayer();

    void setNeedsDisplay() { needsDisplay_ = true; }
    bool needsDisplay() const { return needsDisplay_; }

    /// Lets the view draw, at so many pixels a point. True if the bitmap is another one now.
    bool display(UIView& view, CGFloat scale);

    /// Null where the view draws nothing or the memory was not there.
    const CGBitmapContext* bitmap() const { return bitmap_.get(); }

    /// How often draw() was called and how often the bitmap was painted, over the layer's life.
    int draws() const { return draws_; }
    int paints() const { return paints_; }

 private:
    std::unique_ptr<CGBitmapContext> bitmap_;
    DrawingRecord shown_;
    DrawingRecord next_;
    int draws_ = 0;
    int paints_ = 0;
    bool needsDisplay_ = true;
};

}  // namespace platform
