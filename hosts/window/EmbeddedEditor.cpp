#include "hosts/window/EmbeddedEditor.h"

#include <algorithm>
#include <cmath>

#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::RunLoop;

namespace {

constexpr auto panel = EditorWindow::panelSize;

}  // namespace

EmbeddedEditor::EmbeddedEditor(Instance& instance, double scale)
    : instance_(instance),
      scale_(std::clamp(scale, EditorWindow::smallestScale, EditorWindow::largestScale)) {}

EmbeddedEditor::~EmbeddedEditor() = default;

bool EmbeddedEditor::open(const Place& place, std::string* error) {
    if (window_) return true;
    EditorWindow::Options options{
        .parent = place.parent, .transientFor = place.transientFor, .scale = scale_, .size = size_};
    if (!place.title.empty()) options.title = place.title;
    window_ = EditorWindow::open(instance_, options, error);
    if (!window_) return false;
    end_ = End::none;
    window_->native().onClose = [this] { end_ = End::closed; };
    window_->native().onLost = [this] { end_ = End::lost; };
    return true;
}

void EmbeddedEditor::close() {
    window_.reset();
}

bool EmbeddedEditor::show() {
    if (!window_) return false;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().show();
    return window_->native().isAlive();
}

bool EmbeddedEditor::hide() {
    if (!window_) return false;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().hide();
    return true;
}

bool EmbeddedEditor::setScale(double scale) {
    if (!std::isfinite(scale) || scale <= 0) return false;
    scale_ = std::clamp(scale, EditorWindow::smallestScale, EditorWindow::largestScale);
    if (!window_) return true;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().setScale(scale_);
    return true;
}

bool EmbeddedEditor::setSize(Size size) {
    if (size.width <= 0 || size.height <= 0) return false;
    const auto points = [&](int side) {
        return std::min(side, EditorWindow::largestSide) / scale_;
    };
    size_ = {points(size.width), points(size.height)};
    if (!window_) return true;
    const RunLoop::MakeCurrent current(instance_.runLoop());
    window_->native().setSize(size_);
    return true;
}

int EmbeddedEditor::pixels(double points) const {
    const auto side = std::lround(points * scale_);
    return static_cast<int>(std::clamp<long>(side, 1, EditorWindow::largestSide));
}

EmbeddedEditor::Size EmbeddedEditor::size() const {
    const auto points = window_ ? window_->native().size() : size_;
    return {pixels(points.width), pixels(points.height)};
}

EmbeddedEditor::Size EmbeddedEditor::fitting(Size size) const {
    constexpr double aspect = panel.width / panel.height;
    constexpr double tallest = EditorWindow::largestSide / aspect;
    const double least = EditorWindow::smallestSize.height * scale_;
    const double wanted = std::min(size.width / aspect, static_cast<double>(size.height));
    // From whole pixels of height, so that the result's own fit is the result.
    const double height = std::floor(std::clamp(wanted, least, tallest) + 0.5);
    return {static_cast<int>(std::lround(height * aspect)), static_cast<int>(height)};
}

std::optional<int> EmbeddedEditor::controlAt(int x, int y) const {
    if (!window_) return std::nullopt;
    const double content = window_->content().scale();
    return window_->controlAt({x / content, y / content});
}

std::uint64_t EmbeddedEditor::handle() const {
    return window_ ? window_->native().handle() : 0;
}

}  // namespace qov::hosts
