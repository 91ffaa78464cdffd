#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qov::test {

class Child;

/// A virtual screen of 1400 x 1000 pixels for this process alone; DISPLAY names it until it is
/// destroyed. There is no window manager: windows lie where they are put, and keys go to the one
/// under the mouse.
class Screen {
 public:
    Screen();
    virtual ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// xdotool with these arguments, words separated by blanks.
    static void xdo(const std::string& arguments);
    /// Red, green and blue of a pixel of the screen.
    static std::uint32_t pixel(int x, int y);

    // Windows, by their X11 number

    static std::uint64_t makeWindow(unsigned width, unsigned height);
    static void destroy(std::uint64_t window);
    /// What a window manager sends for the close button of the topmost window.
    static void pressCloseButton();

 protected:
    /// Starts another server, with -displayfd and what else every server gets.
    explicit Screen(std::vector<std::string> server);

 private:
    std::unique_ptr<Child> server_;
};

}  // namespace qov::test
