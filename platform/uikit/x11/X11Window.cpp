// The X11 back end of NativeWindow: Xlib for the window, XInput 2 for fingers and trackpads. The
// picture is painted in memory, and what changes of it goes to the server.

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XInput2.h>
#include <X11/keysym.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/x11/X11Picture.h"

namespace platform {
namespace {

constexpr std::int64_t kMouse = -1;  // the touch identifier of the mouse; fingers count from 0
constexpr CGFloat kZoomStep = 1.1;   // of one notch of the wheel
constexpr CGFloat kUsualDpi = 96;
constexpr long kUsualEvents = ExposureMask | StructureNotifyMask | ButtonPressMask |
                              ButtonReleaseMask | PointerMotionMask | EnterWindowMask |
                              LeaveWindowMask;

/// The connections of our windows. By default Xlib ends the process after an error, which in a
/// plug-in is the host. Errors on these connections are only counted, all others are passed on to
/// the handler that was set before. Any thread.
class Connections {
 public:
    static Connections& shared() {
        static auto& connections = *new Connections;
        return connections;
    }

    void add(Display* display) {
        const std::lock_guard lock(mutex_);
        if (all_.empty()) {
            before_ = XSetErrorHandler(onError);
            beforeIO_ = XSetIOErrorHandler(onIOError);
        }
        all_.push_back({display});
    }

    /// Restores the handlers with the last window, after which this code may be unloaded.
    void remove(Display* display) {
        const std::lock_guard lock(mutex_);
        std::erase_if(all_, [&](const auto& one) { return one.display == display; });
        if (!all_.empty()) return;
        if (const auto now = XSetErrorHandler(before_); now != onError) XSetErrorHandler(now);
        if (const auto now = XSetIOErrorHandler(beforeIO_); now != onIOError)
            XSetIOErrorHandler(now);
    }

    /// The errors of a connection so far. XSync() waits for those of what was asked before.
    int errors(Display* display) {
        const std::lock_guard lock(mutex_);
        const auto* one = find(display);
        return one ? one->errors : 0;
    }

 private:
    struct Connection {
        Display* display;
        int errors = 0;
    };

    Connection* find(Display* display) {
        const auto one = std::ranges::find(all_, display, &Connection::display);
        return one == all_.end() ? nullptr : &*one;
    }
    /// Counts the error if the connection is one of these.
    bool count(Display* display) {
        const std::lock_guard lock(mutex_);
        auto* one = find(display);
        if (one) ++one->errors;
        return one;
    }

    static int onError(Display* display, XErrorEvent* event) {
        auto& all = shared();
        return all.count(display) || !all.before_ ? 0 : all.before_(display, event);
    }

    static int onIOError(Display* display) {
        auto& all = shared();
        return all.count(display) || !all.beforeIO_ ? 0 : all.beforeIO_(display);
    }

    std::mutex mutex_;
    std::vector<Connection> all_;
    XErrorHandler before_ = nullptr;
    XIOErrorHandler beforeIO_ = nullptr;
};

CGFloat scaleOf(Display* display) {
    const char* text = XGetDefault(display, "Xft", "dpi");
    const double dpi = text ? std::strtod(text, nullptr) : kUsualDpi;
    // Quarters, since at other scales no edge of the panel falls on a pixel.
    const double scale = std::round(dpi / kUsualDpi * 4) / 4;
    return std::isfinite(scale) ? std::clamp(scale, 1.0, 4.0) : 1.0;
}

Key keyOf(KeySym symbol) {
    constexpr std::pair<KeySym, Key> keys[] = {{XK_Left, Key::left},
                                               {XK_KP_Left, Key::left},
                                               {XK_Right, Key::right},
                                               {XK_KP_Right, Key::right},
                                               {XK_Up, Key::up},
                                               {XK_KP_Up, Key::up},
                                               {XK_Down, Key::down},
                                               {XK_KP_Down, Key::down},
                                               {XK_space, Key::space},
                                               {XK_Escape, Key::escape},
                                               {XK_Return, Key::enter},
                                               {XK_KP_Enter, Key::enter},
                                               {XK_BackSpace, Key::backspace},
                                               {XK_Delete, Key::forwardDelete},
                                               {XK_KP_Delete, Key::forwardDelete},
                                               {XK_Home, Key::home},
                                               {XK_KP_Home, Key::home},
                                               {XK_End, Key::end},
                                               {XK_KP_End, Key::end},
                                               {XK_Tab, Key::tab},
                                               {XK_ISO_Left_Tab, Key::tab}};
    const auto* found = std::ranges::find(keys, symbol, &std::pair<KeySym, Key>::first);
    return found == std::end(keys) ? Key::other : found->second;
}

KeyModifiers modifiersOf(unsigned state) {
    return {.shift = (state & ShiftMask) != 0, .control = (state & ControlMask) != 0};
}

/// Whether a text of one key press shows, as UTF-8; control characters do not.
bool isPrintable(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    if (text.empty() || byte(0) < 0x20 || byte(0) == 0x7f) return false;
    return !(text.size() == 2 && byte(0) == 0xc2 && byte(1) < 0xa0);
}

class X11Window final : public NativeWindow {
 public:
    X11Window(Display* display, std::shared_ptr<UIWindow> content)
        : display_(display),
          content_(std::move(content)),
          loop_(RunLoop::current().shared_from_this()) {
        Connections::shared().add(display_);
        XSetIOErrorExitHandler(
            display_, [](Display*, void* self) { static_cast<X11Window*>(self)->lost_ = true; },
            this);
    }

    ~X11Window() override {
        content_->cancelTouches();
        detach();
        picture_.reset();
        if (typing_) XDestroyIC(typing_);
        if (inputMethod_) XCloseIM(inputMethod_);
        // A window was destroyed with its parent or its server, and must not be destroyed again.
        if (window_ && !lost_) XDestroyWindow(display_, window_);
        XCloseDisplay(display_);
        Connections::shared().remove(display_);
    }

    bool create(const Options& options, std::string* error);

    void show() override {
        if (!isAlive()) return;
        XMapWindow(display_, window_);
        XFlush(display_);
        loop_->submit([] {});  // a turn at once: see turn()
    }

    void hide() override {
        if (!isAlive()) return;
        XUnmapWindow(display_, window_);
        XFlush(display_);
    }

    void setSize(CGSize size) override {
        if (!isAlive()) return;
        layOut(size);
        XResizeWindow(display_, window_, pixels(size.width), pixels(size.height));
    }
    CGSize size() const override { return size_; }
    void setAspect(CGSize aspect) override {
        if (isAlive()) limitSize(minimumSize_, aspect);
    }
    CGFloat scale() const override { return scale_; }
    void setScale(CGFloat scale) override {
        scale_ = scale;
        setSize(size_);
    }

    void demandKeys(KeyDemand demand) override;
    std::uint64_t handle() const override { return window_; }
    std::optional<CGPoint> pointer() const override { return pointer_; }
    bool isAlive() const override { return window_ && !lost_; }

 private:
    unsigned pixels(CGFloat points) const {
        return static_cast<unsigned>(std::clamp<CGFloat>(std::round(points * scale_), 1, 32767));
    }
    /// Gives the content a window's size in points of the screen.
    void layOut(CGSize size) {
        size_ = size;
        const CGFloat factor = contentScale_ ? contentScale_(size) : 1;
        content_->setScale(scale_ * factor);
        content_->setSize({size.width / factor, size.height / factor});
    }
    CGPoint points(double x, double y) const {
        return {x / content_->scale(), y / content_->scale()};
    }

    bool chooseVisual();
    void makeWindow(const Options& options);
    void describeWindow(const Options& options);
    void limitSize(CGSize minimum, CGSize aspect);
    void selectTouches();
    void attach();
    void detach();
    void turn();
    void handleEvents();
    void handle(XEvent& event);
    void handleCookie(XGenericEventCookie& cookie);
    void handleButton(const XButtonEvent& event);
    void handleKey(XKeyEvent& event);
    void openInputMethod();
    void deliverTouch(std::int64_t identifier, UITouchPhase phase, CGPoint at, unsigned state);
    void takeFocus();
    void giveFocusBack();
    void grab(std::initializer_list<KeySym> symbols);
    void handleSize(int width, int height);
    void hover(std::optional<CGPoint> at) const {
        if (onHover) onHover(at);
    }
    void present();

    Display* display_;
    std::shared_ptr<UIWindow> content_;
    CGFloat scale_ = 1;  // pixels a point of the screen
    CGSize size_;        // points of the screen
    CGSize minimumSize_;
    std::function<CGFloat(CGSize)> contentScale_;
    std::shared_ptr<RunLoop> loop_;
    ::Window window_ = 0;
    Visual* visual_ = nullptr;
    int depth_ = 0;
    std::unique_ptr<X11Picture> picture_;
    XIM inputMethod_ = nullptr;  // from the first key on
    XIC typing_ = nullptr;
    Atom protocols_ = 0, deleteWindow_ = 0;
    int touchOpcode_ = -1;
    std::optional<RunLoop::ObserverID> observer_;
    std::vector<PixelRect> exposed_;
    std::optional<CGPoint> pointer_;
    bool isEmbedded_ = false;
    KeyDemand demand_ = KeyDemand::none;
    ::Window focusBefore_ = 0;
    int revertBefore_ = RevertToNone;
    bool mouseDown_ = false;
    bool lost_ = false;
    bool reportedLost_ = false;
};

// Opening

bool X11Window::create(const Options& options, std::string* error) {
    if (!chooseVisual()) {
        if (error) *error = "the screen shows no 24-bit colours in the order red, green, blue";
        return false;
    }
    scale_ = options.scale > 0 ? options.scale : scaleOf(display_);
    contentScale_ = options.contentScale;
    layOut(content_->bounds().size);
    makeWindow(options);
    describeWindow(options);
    // A key that is held down then repeats without releases in between.
    XkbSetDetectableAutoRepeat(display_, True, nullptr);
    selectTouches();
    XSync(display_, False);
    XWindowAttributes made;
    if (lost_ || !XGetWindowAttributes(display_, window_, &made)) {
        if (error)
            *error = options.parent ? "the parent window does not exist"
                                    : "the X server does not give a window";
        window_ = 0;
        return false;
    }
    picture_ = X11Picture::of(display_, window_,
                              [this] { return Connections::shared().errors(display_); });
    attach();
    return true;
}

bool X11Window::chooseVisual() {
    XVisualInfo info;
    if (!XMatchVisualInfo(display_, DefaultScreen(display_), 24, TrueColor, &info) ||
        info.red_mask != 0xff0000 || info.green_mask != 0xff00 || info.blue_mask != 0xff)
        return false;
    visual_ = info.visual;
    depth_ = info.depth;
    return true;
}

void X11Window::makeWindow(const Options& options) {
    const auto root = DefaultRootWindow(display_);
    const auto parent = options.parent ? static_cast<::Window>(options.parent) : root;
    XSetWindowAttributes attributes{};
    attributes.colormap = XCreateColormap(display_, root, visual_, AllocNone);
    attributes.bit_gravity = NorthWestGravity;
    attributes.event_mask = kUsualEvents;
    // Inside a host, keys belong to the host: events that are not selected go to its window.
    isEmbedded_ = options.parent != 0;
    if (!isEmbedded_) attributes.event_mask |= KeyPressMask;
    window_ = XCreateWindow(display_, parent, 0, 0, pixels(size_.width), pixels(size_.height), 0,
                            depth_, InputOutput, visual_,
                            CWColormap | CWBitGravity | CWEventMask | CWBorderPixel, &attributes);
}

/// Sets the properties for the window manager, or for the host around the window.
void X11Window::describeWindow(const Options& options) {
    const auto atom = [&](const char* name) { return XInternAtom(display_, name, False); };
    protocols_ = atom("WM_PROTOCOLS");
    deleteWindow_ = atom("WM_DELETE_WINDOW");
    XSetWMProtocols(display_, window_, &deleteWindow_, 1);
    XStoreName(display_, window_, options.title.c_str());
    XChangeProperty(display_, window_, atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(options.title.data()),
                    static_cast<int>(options.title.size()));
    const long process = getpid();
    XChangeProperty(display_, window_, atom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&process), 1);
    limitSize(options.minimumSize, options.aspect);
    if (!options.application.empty()) {
        std::string name = options.application;
        XClassHint application{name.data(), name.data()};
        XSetClassHint(display_, window_, &application);
    }
    if (options.transientFor)
        XSetTransientForHint(display_, window_, static_cast<::Window>(options.transientFor));
    if (options.parent) {
        const std::array<long, 2> embedding{0, 1};  // protocol version, "wants to be mapped"
        XChangeProperty(display_, window_, atom("_XEMBED_INFO"), atom("_XEMBED_INFO"), 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(embedding.data()),
                        static_cast<int>(embedding.size()));
    }
}

void X11Window::limitSize(CGSize minimum, CGSize aspect) {
    minimumSize_ = minimum;
    XSizeHints hints{};
    hints.flags = PMinSize;
    hints.min_width = static_cast<int>(pixels(minimum.width));
    hints.min_height = static_cast<int>(pixels(minimum.height));
    if (aspect.width > 0 && aspect.height > 0) {
        hints.flags |= PAspect;
        hints.min_aspect =
            hints.max_aspect = {static_cast<int>(aspect.width), static_cast<int>(aspect.height)};
    }
    XSetWMNormalHints(display_, window_, &hints);
}

void X11Window::selectTouches() {
    int opcode, event, errorBase, major = 2, minor = 4;
    if (!XQueryExtension(display_, "XInputExtension", &opcode, &event, &errorBase) ||
        XIQueryVersion(display_, &major, &minor) != Success || (major == 2 && minor < 2))
        return;
    touchOpcode_ = opcode;
    std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
    for (const int type : {XI_TouchBegin, XI_TouchUpdate, XI_TouchEnd})
        XISetMask(bits.data(), type);
    if (major > 2 || minor >= 4)
        for (const int type : {XI_GesturePinchBegin, XI_GesturePinchUpdate, XI_GesturePinchEnd})
            XISetMask(bits.data(), type);
    XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
    XISelectEvents(display_, window_, &mask, 1);
}

// The run loop

void X11Window::attach() {
    loop_->addFileDescriptor(ConnectionNumber(display_), [this] { handleEvents(); });
    observer_ = loop_->addBeforeWaiting([this] { turn(); });
}

void X11Window::detach() {
    if (!observer_) return;
    loop_->removeFileDescriptor(ConnectionNumber(display_));
    loop_->removeBeforeWaiting(*observer_);
    observer_.reset();
}

void X11Window::turn() {
    // Xlib reads events also while it writes, and these do not make the descriptor readable.
    do {
        handleEvents();
        if (isAlive()) present();
    } while (isAlive() && XEventsQueued(display_, QueuedAlready) > 0);
    if (isAlive() || reportedLost_) return;
    reportedLost_ = true;
    detach();
    content_->cancelTouches();
    if (onLost) onLost();
}

void X11Window::handleEvents() {
    while (isAlive() && XPending(display_) > 0) {
        XEvent event;
        XNextEvent(display_, &event);
        handle(event);
    }
}

void X11Window::handle(XEvent& event) {
    if (event.type == KeyPress && !inputMethod_) openInputMethod();
    if (typing_ && XFilterEvent(&event, None)) return;  // a part of a composed character
    switch (event.type) {
        case Expose: {
            const auto& e = event.xexpose;
            exposed_.push_back({e.x, e.y, e.width, e.height});
            break;
        }
        case ConfigureNotify:
            handleSize(event.xconfigure.width, event.xconfigure.height);
            break;
        case UnmapNotify:
            content_->cancelTouches();
            break;
        case DestroyNotify:
            if (event.xdestroywindow.window == window_) window_ = 0;
            break;
        case ButtonPress:
        case ButtonRelease:
            handleButton(event.xbutton);
            break;
        case MotionNotify:
            pointer_ = points(event.xmotion.x, event.xmotion.y);
            if (mouseDown_)
                deliverTouch(kMouse, UITouchPhase::moved, *pointer_, event.xmotion.state);
            else
                hover(pointer_);
            break;
        case EnterNotify:
            pointer_ = points(event.xcrossing.x, event.xcrossing.y);
            break;
        case LeaveNotify:
            pointer_.reset();
            hover({});
            break;
        case KeyPress:
            handleKey(event.xkey);
            break;
        case FocusOut:
            // Events with detail NotifyPointer also occur while the window receives the focus.
            if (event.xfocus.mode == NotifyNormal && event.xfocus.detail != NotifyPointer &&
                demand_ == KeyDemand::all && onFocusLost)
                onFocusLost();
            break;
        case MappingNotify:
            XRefreshKeyboardMapping(&event.xmapping);
            break;
        case ClientMessage:
            if (event.xclient.message_type == protocols_ &&
                static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow_ && onClose)
                onClose();
            break;
        case GenericEvent:
            if (event.xcookie.extension == touchOpcode_ &&
                XGetEventData(display_, &event.xcookie)) {
                handleCookie(event.xcookie);
                XFreeEventData(display_, &event.xcookie);
            }
            break;
        default:
            break;
    }
}

void X11Window::handleButton(const XButtonEvent& event) {
    const auto place = points(event.x, event.y);
    const bool pressed = event.type == ButtonPress;
    pointer_ = place;
    switch (event.button) {
        case Button1:
            mouseDown_ = pressed;
            if (pressed) hover({});
            deliverTouch(kMouse, pressed ? UITouchPhase::began : UITouchPhase::ended, place,
                         event.state);
            if (!pressed) hover(place);
            break;
        case Button4:
        case Button5: {
            if (!pressed) break;
            const bool up = event.button == Button4;
            if (!onWheel || !onWheel(place, up ? 1 : -1, modifiersOf(event.state)))
                content_->deliverZoomStep(place, up ? kZoomStep : 1 / kZoomStep, loop_->now());
            break;
        }
        default:
            break;
    }
}

void X11Window::handleKey(XKeyEvent& event) {
    const auto held = modifiersOf(event.state);
    // With Ctrl, XLookupString() returns a control character for a letter.
    event.state &= ~static_cast<unsigned>(ControlMask);
    std::array<char, 64> typed;
    KeySym symbol = NoSymbol;
    int status = XLookupBoth;
    const auto size = static_cast<int>(typed.size());
    const int count = typing_
                          ? Xutf8LookupString(typing_, &event, typed.data(), size, &symbol, &status)
                          : XLookupString(&event, typed.data(), 1, &symbol, nullptr);
    const bool isKnown = count > 0 && status != XBufferOverflow && (typing_ || typed[0] >= 0);
    const std::string text(typed.data(), isKnown ? static_cast<std::size_t>(count) : 0);
    if (onKey) onKey({keyOf(symbol), held, isPrintable(text) ? text : ""});
}

/// Xlib's own, for accents and composed characters: one of another process could block this one.
void X11Window::openInputMethod() {
    const char* now = XSetLocaleModifiers(nullptr);
    const std::string before = now ? now : "";
    XSetLocaleModifiers("@im=none");
    inputMethod_ = XOpenIM(display_, nullptr, nullptr, nullptr);
    XSetLocaleModifiers(before.c_str());
    if (!inputMethod_) return;
    typing_ = XCreateIC(inputMethod_, XNInputStyle, XIMPreeditNothing | XIMStatusNothing,
                        XNClientWindow, window_, nullptr);
    if (typing_) XSetICFocus(typing_);
}

void X11Window::deliverTouch(std::int64_t identifier, UITouchPhase phase, CGPoint at,
                             unsigned state) {
    const auto place = routeTouch ? routeTouch(identifier, phase, at, modifiersOf(state)) : at;
    if (place) content_->deliverTouch(identifier, phase, *place, loop_->now());
}

// Keys inside a host's window

void X11Window::demandKeys(KeyDemand demand) {
    if (!isEmbedded_ || !isAlive() || demand == demand_) return;
    if (demand_ == KeyDemand::all) giveFocusBack();
    XUngrabKey(display_, AnyKey, AnyModifier, window_);
    demand_ = demand;
    if (demand == KeyDemand::all) takeFocus();
    if (demand == KeyDemand::steps)
        grab({XK_Left, XK_Right, XK_Up, XK_Down, XK_Return, XK_KP_Enter});
    if (demand == KeyDemand::tab) grab({XK_Tab});
    XFlush(display_);
}

void X11Window::takeFocus() {
    XGetInputFocus(display_, &focusBefore_, &revertBefore_);
    XSelectInput(display_, window_, kUsualEvents | KeyPressMask | FocusChangeMask);
    XSetInputFocus(display_, window_, RevertToParent, CurrentTime);
}

void X11Window::giveFocusBack() {
    XSelectInput(display_, window_, kUsualEvents);
    ::Window now = 0;
    int revert = RevertToNone;
    XGetInputFocus(display_, &now, &revert);
    if (now == window_) XSetInputFocus(display_, focusBefore_, revertBefore_, CurrentTime);
}

/// Takes only these keys, and only with the mouse in the window or the focus on it; the host keeps
/// all others.
void X11Window::grab(std::initializer_list<KeySym> symbols) {
    for (const KeySym symbol : symbols) {
        const int code = XKeysymToKeycode(display_, symbol);
        if (code == 0) continue;
        for (const unsigned fine : {0U, static_cast<unsigned>(ShiftMask)})
            for (const unsigned locks :
                 {0U, static_cast<unsigned>(LockMask), static_cast<unsigned>(Mod2Mask),
                  static_cast<unsigned>(LockMask | Mod2Mask)})
                XGrabKey(display_, code, fine | locks, window_, False, GrabModeAsync,
                         GrabModeAsync);
    }
}

void X11Window::handleCookie(XGenericEventCookie& cookie) {
    using enum UITouchPhase;
    struct Row {
        int type;
        UITouchPhase phase;
        bool isPinch;
    };
    constexpr Row rows[] = {
        {XI_TouchBegin, began, false},        {XI_TouchUpdate, moved, false},
        {XI_TouchEnd, ended, false},          {XI_GesturePinchBegin, began, true},
        {XI_GesturePinchUpdate, moved, true}, {XI_GesturePinchEnd, ended, true}};
    const auto* row = std::ranges::find(rows, cookie.evtype, &Row::type);
    if (row == std::end(rows)) return;
    if (row->isPinch) {
        const auto& e = *static_cast<XIGesturePinchEvent*>(cookie.data);
        const bool isCancelled = row->phase == ended && (e.flags & XIGesturePinchEventCancelled);
        content_->deliverPinch(isCancelled ? cancelled : row->phase, points(e.event_x, e.event_y),
                               e.scale, loop_->now());
        return;
    }
    const auto& e = *static_cast<XIDeviceEvent*>(cookie.data);
    hover({});
    deliverTouch(e.detail, row->phase, points(e.event_x, e.event_y),
                 static_cast<unsigned>(e.mods.effective));
}

void X11Window::handleSize(int width, int height) {
    if (pixels(size_.width) == static_cast<unsigned>(width) &&
        pixels(size_.height) == static_cast<unsigned>(height))
        return;
    layOut({width / scale_, height / scale_});
    if (onResize) onResize(size_);
}

// The picture

void X11Window::present() {
    auto changed = content_->update();
    changed.insert(changed.end(), exposed_.begin(), exposed_.end());
    exposed_.clear();
    if (changed.empty() || !content_->picture()) return;
    picture_->put(*content_->picture(), changed);
    XFlush(display_);
}

Display* openDisplay(std::string* error) {
    auto* display = XOpenDisplay(nullptr);
    const char* name = std::getenv("DISPLAY");
    if (!display && error)
        *error = name && *name ? "no X server answers at the display '" + std::string(name) + "'"
                               : "no X server: the environment variable DISPLAY is not set";
    return display;
}

}  // namespace

std::optional<CGFloat> NativeWindow::desktopScale(std::string* error) {
    auto* display = openDisplay(error);
    if (!display) return std::nullopt;
    const auto scale = scaleOf(display);
    XCloseDisplay(display);
    return scale;
}

std::unique_ptr<NativeWindow> NativeWindow::open(std::shared_ptr<UIWindow> content,
                                                 const Options& options, std::string* error) {
    auto* display = openDisplay(error);
    if (!display) return nullptr;
    auto window = std::make_unique<X11Window>(display, std::move(content));
    if (!window->create(options, error)) return nullptr;
    return window;
}

}  // namespace platform
