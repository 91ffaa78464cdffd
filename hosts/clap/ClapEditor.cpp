#include "hosts/clap/ClapEditor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "hosts/clap/ClapHost.h"
#include "hosts/clap/Heartbeat.h"
#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::clap {

using platform::RunLoop;

namespace {

constexpr std::uint32_t largest = EditorWindow::largestSide;

bool failed(const std::string& error) {
    std::fprintf(stderr, "kelvane: no editor: %s\n", error.c_str());
    return false;
}

std::uint32_t pixels(double points, double scale) {
    return static_cast<std::uint32_t>(std::clamp<double>(std::lround(points * scale), 1, largest));
}

}  // namespace

ClapEditor::ClapEditor(Instance& instance, const ClapHost& host)
    : instance_(instance), host_(host) {}

ClapEditor::~ClapEditor() {
    destroy();
}

bool ClapEditor::create(bool isFloating) {
    if (isCreated_) return false;
    std::string error;
    const auto desktop = platform::NativeWindow::desktopScale(&error);
    if (!desktop) return failed(error);
    options_ = {};
    options_.scale = *desktop;
    isFloating_ = isFloating;
    isCreated_ = true;
    return true;
}

void ClapEditor::destroy() {
    heartbeat_.reset();
    window_.reset();
    isCreated_ = isClosed_ = isLost_ = false;
}

bool ClapEditor::open() {
    if (window_) return true;
    std::string error;
    window_ = EditorWindow::open(instance_, options_, &error);
    if (!window_) return failed(error);
    window_->native().onClose = [this] { isClosed_ = true; };
    window_->native().onLost = [this] { isLost_ = true; };
    heartbeat_ = std::make_unique<Heartbeat>(host_, instance_.runLoop());
    return true;
}

double ClapEditor::scale() const {
    return window_ ? window_->native().scale() : options_.scale;
}

bool ClapEditor::setScale(double scale) {
    if (!isCreated_ || !std::isfinite(scale) || scale <= 0) return false;
    options_.scale = std::clamp(scale, EditorWindow::smallestScale, EditorWindow::largestScale);
    if (!window_) return true;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().setScale(options_.scale);
    return true;
}

std::optional<ClapEditor::Size> ClapEditor::size() const {
    if (!isCreated_) return std::nullopt;
    const auto points = window_ ? window_->native().size() : options_.size;
    return Size{pixels(points.width, scale()), pixels(points.height, scale())};
}

std::optional<ClapEditor::Size> ClapEditor::adjusted(Size asked) const {
    if (!isCreated_) return std::nullopt;
    const auto& panel = EditorWindow::panelSize;
    const double fitting = std::min(asked.width / panel.width, asked.height / panel.height);
    const double least = EditorWindow::smallestSize.width / panel.width * scale();
    const double factor = std::max(fitting, least);
    return Size{pixels(panel.width, factor), pixels(panel.height, factor)};
}

bool ClapEditor::setSize(Size size) {
    if (!isCreated_ || isFloating_ || size.width == 0 || size.height == 0) return false;
    options_.size = {std::min(size.width, largest) / scale(),
                     std::min(size.height, largest) / scale()};
    if (!window_) return true;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().setSize(options_.size);
    return true;
}

bool ClapEditor::setParent(std::uint64_t window) {
    if (!isCreated_ || isFloating_ || window_ || window == 0) return false;
    options_.parent = window;
    return open();
}

bool ClapEditor::setTransient(std::uint64_t window) {
    if (!isCreated_ || !isFloating_ || window_) return false;
    options_.transientFor = window;
    return true;
}

void ClapEditor::setTitle(const char* title) {
    if (isFloating_ && title) options_.title = title;
}

bool ClapEditor::show() {
    if (!isCreated_ || (!isFloating_ && !window_) || !open()) return false;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().show();
    return true;
}

bool ClapEditor::hide() {
    if (!isCreated_) return false;
    if (!window_) return true;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().hide();
    return true;
}

void ClapEditor::tellClosed() {
    const bool isClosed = std::exchange(isClosed_, false);
    const bool isLost = std::exchange(isLost_, false);
    if (!isClosed && !isLost) return;
    if (isClosed) hide();
    // The host may destroy the editor inside this call.
    if (host_.gui) host_.gui->closed(host_.host, isLost);
}

}  // namespace qov::hosts::clap
