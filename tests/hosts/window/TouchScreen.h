#pragma once

#include <X11/extensions/XI2.h>

#include "tests/hosts/window/Screen.h"

namespace qov::test {

/// A screen that also takes touches of five fingers. They come out of the X server's own input
/// driver for tests and take the same way as those of a touch screen.
class TouchScreen : public Screen {
 public:
    static constexpr int down = XI_TouchBegin, move = XI_TouchUpdate, up = XI_TouchEnd;

    TouchScreen();
    ~TouchScreen() override;

    // finger: 0 to 4; phase: one of the three above; pixels of the screen
    void touch(unsigned finger, int phase, int x, int y) const;

 private:
    int socket_;
};

}  // namespace qov::test
