#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// A list of presets to choose from, with a sentence about each; it covers the panel while it is
/// open, and scrolls. Main thread.
class PresetList : public platform::UIView {
 public:
    /// One preset, or a file that is none.
    struct Row {
        std::string name;
        std::string summary;  ///< or why it cannot be chosen
        bool canBeChosen = true;
        bool isUsers = false;
    };

    PresetList();

    /// Opens it above a place of the superview, where it is as wide. scale: its points to the
    /// panel's. marked: the row that is marked and shown.
    void open(std::vector<Row> rows, std::optional<std::size_t> marked,
              const platform::CGRect& anchor, platform::CGFloat scale);
    void close() { setHidden(true); }
    bool isOpen() const { return !isHidden(); }

    /// Called with the row that was pressed or entered; the list is closed then.
    std::function<void(std::size_t row)> onChoose;

    /// Arrows, Home and End mark a row, Return and Space choose it, Esc and Tab close.
    void key(const platform::KeyStroke& stroke);
    void wheel(int steps) { scrollBy(-static_cast<platform::CGFloat>(steps)); }
    /// Marks the row at a point of the window.
    void hover(platform::CGPoint at);

    void touchesBegan(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesMoved(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void touchesEnded(const platform::UITouchSet& touches, platform::UIEvent* event) override;
    void draw(platform::CGRect rect) override;

 private:
    platform::CGFloat shownRows() const;
    std::optional<std::size_t> rowAt(platform::CGPoint own) const;
    void mark(std::size_t row);
    void scrollBy(platform::CGFloat rows);
    void choose(std::size_t row);

    std::vector<Row> rows_;
    std::optional<std::size_t> marked_;
    platform::CGFloat scale_ = 1;
    platform::CGFloat first_ = 0;  // rows above the upper edge
    platform::CGPoint touch_;      // where it was last
    bool isScrolling_ = false;     // by touch
};

}  // namespace qov::hosts
