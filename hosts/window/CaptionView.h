#pragma once

#include <string>
#include <vector>

#include "platform/coregraphics/CGColor.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// A few lines of text on a dark rounded background: a tooltip, a message. Touches pass through it.
/// Main thread.
class CaptionView : public platform::UIView {
 public:
    /// One line: a bold head, plain words, or a warning.
    struct Line {
        enum class Kind { head, plain, warning };
        std::string text;
        Kind kind = Kind::plain;
        bool operator==(const Line&) const = default;
    };

    CaptionView();

    /// Shows the lines below the anchor if there is room, else above it, inside the superview.
    /// anchor: in the superview's coordinates.
    void show(std::vector<Line> lines, const platform::CGRect& anchor);
    /// What it shows, or showed last.
    const std::vector<Line>& lines() const { return lines_; }
    void hide() { setHidden(true); }

    void draw(platform::CGRect rect) override;

 private:
    std::vector<Line> lines_;
    platform::CGFloat scale_ = 1;  // below 1 where the lines would be wider than the superview
};

}  // namespace qov::hosts
