#include "hosts/vst3/View.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <string>

#include "hosts/instance/Instance.h"
#include "hosts/vst3/Controller.h"
#include "hosts/vst3/editorMutex.h"
#include "hosts/window/EditorWindow.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::vst3 {

namespace {

constexpr auto panelSize = EditorWindow::panelSize;
constexpr double aspect = panelSize.width / panelSize.height;                    // 17:11
constexpr double smallest = EditorWindow::smallestSize.width / panelSize.width;  // of that size

std::int32_t pixels(double points, double scale) {
    return static_cast<std::int32_t>(std::lround(points * scale));
}

/// Between two sides, as far as the editor goes.
std::int32_t extent(std::int32_t from, std::int32_t to) {
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(std::int64_t{to} - from, EditorWindow::largestSide));
}

bool isX11(const char* type) {
    return type && std::strcmp(type, V3_VIEW_PLATFORM_TYPE_X11) == 0;
}

}  // namespace

constexpr v3_plugin_view_cpp View::viewTable{
    unknownEntries,
    {entry<&View::isPlatformTypeSupported>, entry<&View::attached>, entry<&View::removed>,
     entry<&View::onWheel>, entry<&View::onKey>, entry<&View::onKey>, entry<&View::getSize>,
     entry<&View::onSize>, entry<&View::onFocus>, entry<&View::setFrame>, entry<&View::canResize>,
     entry<&View::checkSizeConstraint>}};

constexpr v3_plugin_view_content_scale_cpp View::scaleTable{unknownEntries,
                                                            {entry<&View::setContentScaleFactor>}};

constexpr v3_plugin_view_parameter_finder_cpp View::finderTable{unknownEntries,
                                                                {entry<&View::findParameter>}};

View::View(Unknown& effect, Controller& controller, Instance& instance)
    : effect_(effect),
      controller_(controller),
      instance_(instance),
      scale_(platform::NativeWindow::desktopScale(nullptr).value_or(1)),
      width_(pixels(panelSize.width, scale_)),
      height_(pixels(panelSize.height, scale_)) {
    effect_.ref();
}

View::~View() {
    close();
    effect_.unref();
}

void* View::find(const std::uint8_t* id) noexcept {
    if (v3_tuid_match(id, v3_funknown_iid) || v3_tuid_match(id, v3_plugin_view_iid)) return &view_;
    if (v3_tuid_match(id, v3_plugin_view_content_scale_iid)) return &scaleFace_;
    return v3_tuid_match(id, v3_plugin_view_parameter_finder_iid) ? &finder_ : nullptr;
}

// Window

v3_result View::isPlatformTypeSupported(const char* type) {
    return isX11(type) ? V3_OK : V3_FALSE;
}

v3_result View::attached(void* parent, const char* type) {
    if (!parent || !isX11(type)) return V3_INVALID_ARG;
    if (parent_) return V3_FALSE;
    if (!controller_.viewOpens(*this, Held<v3_run_loop>::of(frame_.get(), v3_run_loop_iid)))
        return V3_FALSE;
    parent_ = reinterpret_cast<std::uintptr_t>(parent);
    if (openWindow()) return V3_OK;
    close();
    return V3_INTERNAL_ERR;
}

bool View::openWindow() {
    const std::lock_guard lock(editorMutex());
    std::string error;
    window_ = EditorWindow::open(
        instance_,
        {.parent = parent_, .scale = scale_, .size = {width_ / scale_, height_ / scale_}}, &error);
    if (window_)
        window_->native().show();
    else
        std::fprintf(stderr, "kelvane: the editor does not open: %s\n", error.c_str());
    return window_ != nullptr;
}

v3_result View::removed() {
    if (!parent_) return V3_FALSE;
    close();
    return V3_OK;
}

/// The ticks end first, and without the lock, which they may be waiting for.
void View::close() {
    if (!parent_) return;
    controller_.viewCloses(*this);
    closeWindow();
    parent_ = 0;
    controller_.viewHasClosed();
}

void View::closeWindow() {
    const std::lock_guard lock(editorMutex());
    window_.reset();
}

v3_result View::setFrame(v3_plugin_frame** frame) {
    frame_ = Held<v3_plugin_frame>(frame);
    return V3_OK;
}

// Input: the window has its own.

v3_result View::onWheel(float) {
    return V3_FALSE;
}

v3_result View::onKey(std::int16_t, std::int16_t, std::int16_t) {
    return V3_FALSE;
}

v3_result View::onFocus(v3_bool) {
    return V3_OK;
}

v3_result View::findParameter(std::int32_t x, std::int32_t y, v3_param_id* id) {
    const std::lock_guard lock(editorMutex());
    if (!id || !window_) return V3_FALSE;
    const auto control = window_->controlAt({x / scale_, y / scale_});
    if (!control) return V3_FALSE;
    *id = static_cast<v3_param_id>(*control);
    return V3_OK;
}

// Size

v3_result View::getSize(v3_view_rect* rect) {
    if (!rect) return V3_INVALID_ARG;
    *rect = {0, 0, width_, height_};
    return V3_OK;
}

v3_result View::onSize(v3_view_rect* rect) {
    if (!rect || rect->right <= rect->left || rect->bottom <= rect->top) return V3_INVALID_ARG;
    width_ = extent(rect->left, rect->right);
    height_ = extent(rect->top, rect->bottom);
    const std::lock_guard lock(editorMutex());
    if (window_) window_->native().setSize({width_ / scale_, height_ / scale_});
    return V3_OK;
}

v3_result View::canResize() {
    return V3_OK;
}

/// The panel's own proportions; the side that was drawn further leads. Each height has one width:
/// a size that was found right once is right when it is asked again.
v3_result View::checkSizeConstraint(v3_view_rect* rect) {
    if (!rect) return V3_INVALID_ARG;
    const double width = static_cast<double>(rect->right) - rect->left;
    const double height = static_cast<double>(rect->bottom) - rect->top;
    const bool widthLeads = std::abs(width - width_) >= std::abs(height - height_) * aspect;
    const double wanted = (widthLeads ? width : height * aspect) / (panelSize.width * scale_);
    const double widest = std::floor(EditorWindow::largestSide / aspect) / panelSize.height;
    const auto tall =
        pixels(panelSize.height, std::clamp(wanted * scale_, smallest * scale_, widest));
    const auto wide = pixels(aspect, tall);
    constexpr auto last = std::numeric_limits<std::int32_t>::max() - EditorWindow::largestSide;
    if (rect->left > last || rect->top > last) return V3_INVALID_ARG;
    rect->right = rect->left + wide;
    rect->bottom = rect->top + tall;
    return V3_OK;
}

/// An open window is made anew; the host is asked for the room that it needs.
v3_result View::setContentScaleFactor(float factor) {
    if (!(factor >= EditorWindow::smallestScale && factor <= EditorWindow::largestScale))
        return V3_INVALID_ARG;
    const double change = double{factor} / scale_;
    if (change == 1) return V3_OK;
    scale_ = double{factor};
    width_ = extent(0, pixels(width_, change));
    height_ = extent(0, pixels(height_, change));
    if (!window_) return V3_OK;
    closeWindow();
    if (!openWindow()) return V3_INTERNAL_ERR;
    v3_view_rect rect{0, 0, width_, height_};
    if (frame_) frame_(&v3_plugin_frame::resize_view, face(), &rect);
    return V3_OK;
}

}  // namespace qov::hosts::vst3
