#pragma once

#include <cstddef>
#include <string>

#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIView.h"

namespace qov::hosts {

/// A one-line text field. Its first text is selected as a whole, so that typing replaces it. The
/// owner passes keys to it and handles Return and Esc. Main thread.
class ValueField : public platform::UIView {
 public:
    ValueField();

    void open(std::string text, const platform::CGRect& frame);
    void close() { setHidden(true); }
    bool isOpen() const { return !isHidden(); }
    const std::string& text() const { return text_; }
    /// Marks the text as refused until it changes.
    void refuse();
    bool isRefused() const { return isRefused_; }

    /// Types or erases a character or moves the caret; other keys are ignored. A character beyond
    /// the longest text is refused.
    void key(const platform::KeyStroke& stroke);

    void draw(platform::CGRect rect) override;

 private:
    void erase(std::size_t from, std::size_t to);
    /// Where the character before or behind a place begins.
    std::size_t before(std::size_t place) const;
    std::size_t behind(std::size_t place) const;

    std::string text_;  // UTF-8
    std::size_t caret_ = 0;
    bool isAllSelected_ = false;
    bool isRefused_ = false;
};

}  // namespace qov::hosts
