#pragma once

#include <X11/extensions/XI2.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xf86-input-inputtest-protocol.h>

#include <filesystem>

#include "tests/hosts/window/Screen.h"

namespace qov::test {

/// A screen that also takes touches of five fingers. They come out of the X server's own input
/// driver for tests and take the same way as those of a touch screen. It shares no memory with its
/// clients, as a server on another machine would not.
class TouchScreen : public Screen {
 public:
    static constexpr int down = XI_TouchBegin, move = XI_TouchUpdate, up = XI_TouchEnd;

    TouchScreen()
        : Screen((std::filesystem::remove(socketPath),  // a server that was killed leaves it there
                  std::vector<std::string>{"Xorg", "-config", XORG_FOLDER "/xorg.conf", "-logfile",
                                           XORG_FOLDER "/xorg.log", "-novtswitch", "-sharevts",
                                           "-quiet", "-extension", "MIT-SHM"})) {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::string_view(socketPath).copy(address.sun_path, sizeof address.sun_path - 1);
        const xf86ITEventClientVersion hello{{sizeof hello, XF86IT_EVENT_CLIENT_VERSION},
                                             XF86IT_PROTOCOL_VERSION_MAJOR,
                                             XF86IT_PROTOCOL_VERSION_MINOR};
        xf86ITResponseServerVersion answer{};
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            write(socket_, &hello, sizeof hello) != sizeof hello ||
            read(socket_, &answer, sizeof answer) != sizeof answer)
            throw std::runtime_error("the X server has no fingers");
    }
    ~TouchScreen() override { close(socket_); }

    // finger: 0 to 4; phase: one of the three above; pixels of the screen
    void touch(unsigned finger, int phase, int x, int y) const {
        xf86ITEventTouch event{};
        event.header = {sizeof event, XF86IT_EVENT_TOUCH};
        event.touchid = finger;
        event.touch_type = static_cast<std::uint32_t>(phase);
        event.valuators.mask[0] = 3;
        // The driver's axes have 16 bits for the whole of the screen, here 1400 x 1000.
        event.valuators.valuators[0] = x * 65536.0 / 1400;
        event.valuators.valuators[1] = y * 65536.0 / 1000;
        if (write(socket_, &event, sizeof event) != sizeof event)
            throw std::runtime_error("the X server has lost its fingers");
    }

 private:
    static constexpr auto* socketPath = XORG_FOLDER "/fingers";  // as xorg.conf says
    int socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

}  // namespace qov::test
