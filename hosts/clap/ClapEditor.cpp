#include "hosts/clap/ClapEditor.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "hosts/clap/ClapHost.h"
#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::clap {

namespace {

bool failed(const std::string& error) {
    std::fprintf(stderr, "kelvane: no editor: %s\n", error.c_str());
    return false;
}

bool isX11(const char* api) {
    return api && std::strcmp(api, CLAP_WINDOW_API_X11) == 0;
}

EmbeddedEditor::Size sizeOf(std::uint32_t width, std::uint32_t height) {
    const auto side = [](std::uint32_t pixels) {
        return static_cast<int>(std::min<std::uint32_t>(pixels, EditorWindow::largestSide));
    };
    return {side(width), side(height)};
}

void give(EmbeddedEditor::Size size, std::uint32_t& width, std::uint32_t& height) {
    width = static_cast<std::uint32_t>(size.width);
    height = static_cast<std::uint32_t>(size.height);
}

}  // namespace

ClapEditor::ClapEditor(Instance& instance, const ClapHost& host)
    : instance_(instance), host_(host) {}

ClapEditor::~ClapEditor() {
    destroy();
}

bool ClapEditor::isSupported(const char* api, bool isFloating) {
    return isX11(api) || (isFloating && (!api || !*api));
}

bool ClapEditor::create(const char* api, bool isFloating) {
    if (editor_ || !isSupported(api, isFloating)) return false;
    if (!host_.timers) return failed("the host offers no timer to draw it on");
    std::string error;
    const auto desktop = platform::NativeWindow::desktopScale(&error);
    if (!desktop) return failed(error);
    editor_.emplace(instance_, *desktop);
    editor_->requestSize = [this](EmbeddedEditor::Size size) {
        std::uint32_t width, height;
        give(size, width, height);
        if (host_.gui) host_.gui->resize_hints_changed(host_.host);
        return host_.gui && host_.gui->request_resize(host_.host, width, height);
    };
    place_ = {};
    isFloating_ = isFloating;
    return true;
}

void ClapEditor::destroy() {
    if (descriptor_ >= 0) host_.descriptors->unregister_fd(host_.host, descriptor_);
    if (timer_) host_.timers->unregister_timer(host_.host, *timer_);
    descriptor_ = -1;
    timer_.reset();
    editor_.reset();
    isFloating_ = false;
}

bool ClapEditor::open() {
    if (editor_->isOpen()) return true;
    std::string error;
    if (!editor_->open(place_, &error)) return failed(error);
    clap_id timer;
    if (!host_.timers->register_timer(host_.host, EmbeddedEditor::tick.count(), &timer)) {
        editor_->close();
        return failed("the host gives it no timer");
    }
    timer_ = timer;
    // Where the host watches descriptors, the screen's events are handled before the timer.
    const int descriptor = host_.descriptors ? instance_.runLoop()->fileDescriptor() : -1;
    if (descriptor >= 0 && host_.descriptors->register_fd(host_.host, descriptor, abi::fdRead))
        descriptor_ = descriptor;
    return true;
}

bool ClapEditor::getSize(std::uint32_t* width, std::uint32_t* height) {
    if (!editor_ || !width || !height) return false;
    give(editor_->size(), *width, *height);
    return true;
}

bool ClapEditor::getResizeHints(clap_gui_resize_hints_t* hints) {
    if (!editor_ || !hints) return false;
    const auto own = editor_->ownSize();
    *hints = {.can_resize_horizontally = true,
              .can_resize_vertically = true,
              .preserve_aspect_ratio = true,
              .aspect_ratio_width = static_cast<std::uint32_t>(own.width),
              .aspect_ratio_height = static_cast<std::uint32_t>(own.height)};
    return true;
}

bool ClapEditor::adjustSize(std::uint32_t* width, std::uint32_t* height) {
    if (!editor_ || !width || !height) return false;
    give(editor_->fitting(sizeOf(*width, *height)), *width, *height);
    return true;
}

bool ClapEditor::setSize(std::uint32_t width, std::uint32_t height) {
    return editor_ && !isFloating_ && editor_->setSize(sizeOf(width, height));
}

bool ClapEditor::setParent(const clap_window_t* window) {
    if (!editor_ || isFloating_ || editor_->isOpen()) return false;
    if (!window || !isX11(window->api) || window->x11 == 0) return false;
    place_.parent = window->x11;
    return open();
}

bool ClapEditor::setTransient(const clap_window_t* window) {
    if (!editor_ || !isFloating_ || editor_->isOpen()) return false;
    if (!window || !isX11(window->api)) return false;
    place_.transientFor = window->x11;
    return true;
}

void ClapEditor::setTitle(const char* title) {
    if (isFloating_ && title) place_.title = title;
}

bool ClapEditor::show() {
    if (!editor_ || (!isFloating_ && !editor_->isOpen()) || !open()) return false;
    editor_->show();
    return true;
}

void ClapEditor::reportClosed() {
    using End = EmbeddedEditor::End;
    const auto end = editor_ ? editor_->takeEnd() : End::none;
    if (end == End::none) return;
    if (end == End::closed) hide();
    // The host may destroy the editor inside this call.
    if (host_.gui) host_.gui->closed(host_.host, end == End::lost);
}

}  // namespace qov::hosts::clap
