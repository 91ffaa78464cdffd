#include "hosts/window/EmbeddedEditor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "hosts/instance/Instance.h"
#include "hosts/window/SavedSettings.h"
#include "hosts/window/Strip.h"
#include "hosts/window/fitPanel.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::RunLoop;

namespace {

constexpr const char* settingsName = "plugin-window";  // the file of every format's windows

}  // namespace

EmbeddedEditor::EmbeddedEditor(Instance& instance, double scale)
    : instance_(instance),
      scale_(std::clamp(scale, EditorWindow::smallestScale, EditorWindow::largestScale)),
      isStripShown_(SavedSettings::read(SavedSettings::pathOf(settingsName)).isStripShown) {}

EmbeddedEditor::~EmbeddedEditor() = default;

bool EmbeddedEditor::open(const Place& place, std::string* error) {
    if (window_) return true;
    EditorWindow::Options options{
        .parent = place.parent,
        .transientFor = place.transientFor,
        .scale = scale_,
        .size = size_,
        .makeFooter = [this](EditorWindow& window) {
            return std::make_shared<Strip>(
                window, instance_,
                Strip::Options{.isShown = isStripShown_,
                               .ownsKeys = false,
                               .onFold = [this](bool isShown) { stripFolded(isShown); }});
        }};
    if (!place.title.empty()) options.title = place.title;
    window_ = EditorWindow::open(instance_, options, error);
    if (!window_) return false;
    end_ = End::none;
    isFloating_ = place.parent == 0;
    window_->native().onClose = [this] { end_ = End::closed; };
    window_->native().onLost = [this] { end_ = End::lost; };
    return true;
}

void EmbeddedEditor::close() {
    window_.reset();
}

void EmbeddedEditor::stripFolded(bool isShown) {
    isStripShown_ = isShown;
    SavedSettings settings;
    settings.isStripShown = isShown;
    const auto error = settings.write(SavedSettings::pathOf(settingsName));
    if (!error.empty()) std::fprintf(stderr, "kelvane: %s\n", error.c_str());
    const auto before = window_->native().size();
    // After a refusal the size is still the one of this state.
    if (std::exchange(refusedAt_, std::nullopt) == before) return window_->setSize(before);
    size_ = window_->wantedSize();
    const bool isGiven =
        isFloating_ || (requestSize && requestSize({pixels(size_.width), pixels(size_.height)}));
    if (!isGiven) size_ = window_->native().size();
    if (!isGiven && size_ == before) refusedAt_ = before;
    window_->setSize(size_);
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

platform::CGSize EmbeddedEditor::ownSize() const {
    return withFooter(EditorWindow::panelSize, Strip::heightIf(isStripShown_));
}

EmbeddedEditor::Size EmbeddedEditor::size() const {
    const auto points = window_ ? window_->native().size() : size_;
    return {pixels(points.width), pixels(points.height)};
}

EmbeddedEditor::Size EmbeddedEditor::fitting(Size size) const {
    const double aspect = ownSize().width / ownSize().height;
    const double tallest = EditorWindow::largestSide / aspect;
    const double least = EditorWindow::smallestSize.width / aspect * scale_;
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
