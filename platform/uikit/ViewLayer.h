#pragma once

#include <memory>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/DrawingRecord.h"
#include "platform/uikit/PixelRect.h"

namespace platform {

class CGBitmapContext;
class UIView;

/// A view's drawing, kept as a bitmap and as a record of the calls that made it.
///
/// draw() goes to a record first; the bitmap is repainted only if the record differs from the last
/// one. A view that is marked but draws the same calls costs neither painting nor compositing.
class ViewLayer {
 public:
    ViewLayer();
    ~ViewLayer();

    void setNeedsDisplay() { needsDisplay_ = true; }
    /// Whether display() has to be called: the view is marked, or another part of it shows.
    bool needsDisplay(const UIView& view, CGFloat scale, const PixelRect& picture) const;

    /// Calls draw(), at scale pixels a point. picture: the window's picture in the view's pixels.
    /// What of the bitmap has changed since, in the view's pixels; empty if nothing.
    PixelRect display(UIView& view, CGFloat scale, const PixelRect& picture);

    /// Null if the view draws nothing or its memory could not be allocated.
    const CGBitmapContext* bitmap() const { return bitmap_.get(); }
    /// The part of the view that the bitmap holds: all of it, or of a view that is large (4096
    /// pixels a side) what lies in the picture.
    const PixelRect& part() const { return part_; }
    /// What of that part is painted at all.
    const PixelRect& painted() const { return painted_; }

    /// Calls of draw() and paintings of the bitmap since construction.
    int draws() const { return draws_; }
    int paints() const { return paints_; }

 private:
    std::unique_ptr<CGBitmapContext> bitmap_;
    PixelRect part_, painted_;
    DrawingRecord shown_;
    DrawingRecord next_;
    int draws_ = 0;
    int paints_ = 0;
    bool needsDisplay_ = true;
};

}  // namespace platform
