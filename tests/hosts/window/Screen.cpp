#include "tests/hosts/window/Screen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "tests/hosts/window/Child.h"

namespace qov::test {
namespace {

/// One connection for the whole test; made and closed with the screen.
Display* display = nullptr;

}  // namespace

Screen::Screen() : Screen({"Xvfb", "-screen", "0", "1400x1000x24"}) {}

Screen::Screen(std::vector<std::string> server) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    for (const char* word : {"-displayfd", "3", "-nolisten", "tcp", "-noreset"})
        server.emplace_back(word);
    server_ = std::make_unique<Child>(server, ends[1]);
    close(ends[1]);
    std::string number = ":";
    for (char digit; read(ends[0], &digit, 1) == 1 && digit != '\n';) number += digit;
    close(ends[0]);
    setenv("DISPLAY", number.c_str(), 1);
    display = XOpenDisplay(nullptr);
    if (!display) throw std::runtime_error("Xvfb does not answer at " + number);
}

Screen::~Screen() {
    XCloseDisplay(display);
    unsetenv("DISPLAY");
}

void Screen::xdo(const std::string& arguments) {
    std::vector<std::string> words{"xdotool"};
    std::istringstream in(arguments);
    for (std::string word; in >> word;) words.push_back(word);
    if (Child(words).wait() != 0) throw std::runtime_error("xdotool " + arguments);
}

std::uint32_t Screen::pixel(int x, int y) {
    auto* image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    const auto value = static_cast<std::uint32_t>(XGetPixel(image, 0, 0)) & 0xffffff;
    XDestroyImage(image);
    return value;
}

std::uint64_t Screen::makeWindow(unsigned width, unsigned height) {
    const auto root = DefaultRootWindow(display);
    const auto window = XCreateSimpleWindow(display, root, 0, 0, width, height, 0, 0, 0);
    XMapWindow(display, window);
    XSync(display, False);
    return window;
}

void Screen::destroy(std::uint64_t window) {
    XDestroyWindow(display, window);
    XSync(display, False);
}

void Screen::pressCloseButton() {
    ::Window root, above, *windows = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &above, &windows, &count);
    if (count == 0) throw std::runtime_error("there is no window to close");
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = windows[count - 1];
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, windows[count - 1], False, NoEventMask, &event);
    XSync(display, False);
    XFree(windows);
}

}  // namespace qov::test
