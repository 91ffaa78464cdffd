#include "tests/hosts/window/TouchScreen.h"

#include <X11/X.h>
#include <X11/extensions/XI2.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xf86-input-inputtest-protocol.h>

#include <fstream>
#include <stdexcept>

namespace qov::test {

/// In a folder of their own, until the server has read them.
struct TouchScreen::Files {
    Files() {
        std::string name = (std::filesystem::temp_directory_path() / "kelvane-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the X server");
        folder = name;
        std::ofstream(folder / "xorg.conf") << R"(
Section "ServerFlags"
  Option "AutoAddDevices" "false"
EndSection
Section "Device"
  Identifier "memory"
  Driver "dummy"
  VideoRam 16384
EndSection
Section "Monitor"
  Identifier "none"
  HorizSync 5-1000
  VertRefresh 5-200
  Modeline "1400x1000" 100 1400 1410 1420 1430 1000 1010 1020 1030
EndSection
Section "Screen"
  Identifier "screen"
  Device "memory"
  Monitor "none"
  DefaultDepth 24
  SubSection "Display"
    Depth 24
    Modes "1400x1000"
  EndSubSection
EndSection
Section "InputDevice"
  Identifier "fingers"
  Driver "inputtest"
  Option "SocketPath" ")" << (folder / "socket").string()
                                            << R"("
  Option "DeviceType" "Touch"
  Option "TouchCount" "5"
EndSection
Section "ServerLayout"
  Identifier "layout"
  Screen "screen"
  InputDevice "fingers"
EndSection
)";
    }
    ~Files() { std::filesystem::remove_all(folder); }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    std::filesystem::path folder;
};

TouchScreen::TouchScreen() : TouchScreen(Files()) {}

TouchScreen::TouchScreen(const Files& files)
    : Screen({"Xorg", "-config", files.folder / "xorg.conf", "-logfile", files.folder / "log",
              "-novtswitch", "-sharevts", "-quiet"}) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    (files.folder / "socket").string().copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("the X server has no fingers");
    xf86ITEventClientVersion hello{};
    hello.header = {sizeof hello, XF86IT_EVENT_CLIENT_VERSION};
    hello.major = XF86IT_PROTOCOL_VERSION_MAJOR;
    hello.minor = XF86IT_PROTOCOL_VERSION_MINOR;
    xf86ITResponseServerVersion answer{};
    if (write(socket_, &hello, sizeof hello) != sizeof hello ||
        read(socket_, &answer, sizeof answer) != sizeof answer)
        throw std::runtime_error("the X server does not take fingers");
}

TouchScreen::~TouchScreen() {
    close(socket_);
}

void TouchScreen::down(unsigned finger, int x, int y) const {
    send(finger, XI_TouchBegin, x, y);
}
void TouchScreen::move(unsigned finger, int x, int y) const {
    send(finger, XI_TouchUpdate, x, y);
}
void TouchScreen::up(unsigned finger, int x, int y) const {
    send(finger, XI_TouchEnd, x, y);
}

void TouchScreen::send(unsigned finger, int type, int x, int y) const {
    xf86ITEventTouch event{};
    event.header = {sizeof event, XF86IT_EVENT_TOUCH};
    event.touchid = finger;
    event.touch_type = static_cast<std::uint32_t>(type);
    event.valuators.mask[0] = 3;
    // The driver's axes have 16 bits for the whole of the screen, here 1400 x 1000.
    event.valuators.valuators[0] = x * 65536.0 / 1400;
    event.valuators.valuators[1] = y * 65536.0 / 1000;
    if (write(socket_, &event, sizeof event) != sizeof event)
        throw std::runtime_error("the X server has lost its fingers");
}

}  // namespace qov::test
