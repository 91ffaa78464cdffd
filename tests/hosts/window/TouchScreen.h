#pragma once

#include <filesystem>

#include "tests/hosts/window/Screen.h"

namespace qov::test {

/// A screen as above that also takes fingers: their touches come out of the X server's own input
/// driver for tests and take the whole way that a touch screen's take.
class TouchScreen : public Screen {
 public:
    TouchScreen();
    ~TouchScreen() override;

    // finger: 0 to 4; pixels of the screen
    void down(unsigned finger, int x, int y) const;
    void move(unsigned finger, int x, int y) const;
    void up(unsigned finger, int x, int y) const;

 private:
    struct Files;
    explicit TouchScreen(const Files& files);
    void send(unsigned finger, int type, int x, int y) const;

    int socket_ = -1;
};

}  // namespace qov::test
