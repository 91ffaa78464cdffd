#pragma once

#include <memory>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/DrawingRecord.h"

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
    bool needsDisplay() const { return needsDisplay_; }

    /// Calls draw(), at scale pixels a point. True if the bitmap has changed.
    bool display(UIView& view, CGFloat scale);

    /// Null if the view draws nothing or its memory could not be allocated.
    const CGBitmapContext* bitmap() const { return bitmap_.get(); }

    /// Calls of draw() and paintings of the bitmap since construction.
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
