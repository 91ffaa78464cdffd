#include "tests/hosts/window/TouchScreen.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xf86-input-inputtest-protocol.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace qov::test {

namespace {

/// As xorg.conf says. A server that was killed leaves it there.
const std::string socketPath = XORG_FOLDER "/fingers";

}  // namespace

TouchScreen::TouchScreen()
    : Screen((
          std::filesystem::remove(socketPath),
          std::vector<std::string>{"Xorg", "-config", XORG_FOLDER "/xorg.conf", "-logfile",
                                   XORG_FOLDER "/xorg.log", "-novtswitch", "-sharevts", "-quiet"})),
      socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    xf86ITEventClientVersion hello{};
    hello.header = {sizeof hello, XF86IT_EVENT_CLIENT_VERSION};
    hello.major = XF86IT_PROTOCOL_VERSION_MAJOR;
    hello.minor = XF86IT_PROTOCOL_VERSION_MINOR;
    xf86ITResponseServerVersion answer{};
    if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        write(socket_, &hello, sizeof hello) != sizeof hello ||
        read(socket_, &answer, sizeof answer) != sizeof answer)
        throw std::runtime_error("the X server has no fingers");
}

TouchScreen::~TouchScreen() {
    close(socket_);
}

void TouchScreen::touch(unsigned finger, int phase, int x, int y) const {
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

}  // namespace qov::test
