#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/DrawingRecord.h"

namespace platform {

class UIView;

/// A view's drawing, kept as a record of the calls that made it: a view that is marked but draws
/// the same calls again costs nothing more.
class ViewLayer {
 public:
    /// Where a picture has it: the pixel of the view's corner.
    struct Place {
        int x = 0, y = 0;
        CGFloat alpha = 1;
        bool operator==(const Place&) const = default;
    };

    void setNeedsDisplay() { needsDisplay_ = true; }
    /// Whether display() has to be called: the view is marked, or has another size.
    bool needsDisplay(const UIView& view, CGFloat scale) const;
    /// Calls draw(), at scale pixels a point. True if it makes another drawing.
    bool display(UIView& view, CGFloat scale);

    /// The pixels that the drawing may paint, counted from the view's corner; null if none.
    CGRect painted() const { return shown_.painted().intersection(CGRect({}, size_)); }
    /// Adds the drawing to a picture.
    void compose(CGContext& picture, const Place& place) const;

    /// Counts the updates of a window in which the drawing and its place stay. True after some of
    /// them.
    bool isQuietAt(const Place& place);

    /// Calls of draw(), and those that made another drawing, since construction.
    int draws() const { return draws_; }
    int changes() const { return changes_; }

 private:
    DrawingRecord shown_;
    DrawingRecord next_;
    CGSize size_;  // in pixels
    CGFloat scale_ = 0;
    Place place_;
    int updates_ = 0;
    int draws_ = 0;
    int changes_ = 0;
    bool needsDisplay_ = true;
};

}  // namespace platform
