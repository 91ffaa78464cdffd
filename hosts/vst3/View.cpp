#include "hosts/vst3/View.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "hosts/vst3/Plugin.h"
#include "hosts/vst3/text16.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::vst3 {

using platform::Key;

namespace {

bool isX11(const char* type) {
    return type && std::strcmp(type, V3_VIEW_PLATFORM_TYPE_X11) == 0;
}

v3_result isPlatformTypeSupported(const char* type) {
    return isX11(type) ? V3_OK : V3_FALSE;
}

/// An empty side is 0; no side is longer than the editor's longest.
EmbeddedEditor::Size sizeOf(const v3_view_rect& rect) {
    const auto side = [](std::int32_t from, std::int32_t to) {
        constexpr std::int64_t largest = EditorWindow::largestSide;
        return static_cast<int>(std::clamp(std::int64_t{to} - from, std::int64_t{0}, largest));
    };
    return {side(rect.left, rect.right), side(rect.top, rect.bottom)};
}

/// The format's codes of keys that have a meaning in the editor.
constexpr std::array<std::pair<int, Key>, 13> keys{{{1, Key::backspace},
                                                    {2, Key::tab},
                                                    {4, Key::enter},
                                                    {6, Key::escape},
                                                    {7, Key::space},
                                                    {9, Key::end},
                                                    {10, Key::home},
                                                    {11, Key::left},
                                                    {12, Key::up},
                                                    {13, Key::right},
                                                    {14, Key::down},
                                                    {19, Key::enter},  // of the number pad
                                                    {22, Key::forwardDelete}}};

platform::KeyStroke strokeOf(std::int16_t character, std::int16_t code, std::int16_t modifiers) {
    constexpr int shift = 1, control = 4;  // bits of modifiers
    const auto* found = std::ranges::find(keys, int{code}, &std::pair<int, Key>::first);
    const auto key = found == keys.end() ? Key::other : found->second;
    return {.key = key,
            .held = {.shift = (modifiers & shift) != 0, .control = (modifiers & control) != 0},
            .text = key == Key::space ? " " : printableText(static_cast<char16_t>(character))};
}

}  // namespace

// The window gets the wheel itself.
constexpr v3_plugin_view_cpp View::viewTable{
    unknownEntries,
    {entry<&isPlatformTypeSupported>, entry<&View::attached>, entry<&View::removed>,
     returns<V3_FALSE>, entry<&View::onKeyDown>, returns<V3_FALSE>, entry<&View::getSize>,
     entry<&View::onSize>, returns<V3_OK>, entry<&View::setFrame>, returns<V3_OK>,
     entry<&View::checkSizeConstraint>}};

constexpr v3_plugin_view_content_scale_cpp View::scaleTable{unknownEntries,
                                                            {entry<&View::setContentScaleFactor>}};

constexpr v3_plugin_view_parameter_finder_cpp View::finderTable{unknownEntries,
                                                                {entry<&View::findParameter>}};

View::View(Plugin& plugin)
    : plugin_(plugin),
      editor_(plugin.instance(), platform::NativeWindow::desktopScale(nullptr).value_or(1)) {
    plugin_.ref();
    editor_.requestSize = [this](EmbeddedEditor::Size size) {
        requestSize(size);
        return false;
    };
}

View::~View() {
    close();
    plugin_.unref();
}

void* View::find(const std::uint8_t* id) noexcept {
    if (v3_tuid_match(id, v3_funknown_iid) || v3_tuid_match(id, v3_plugin_view_iid)) return &view_;
    if (v3_tuid_match(id, v3_plugin_view_content_scale_iid)) return &scaleFace_;
    return v3_tuid_match(id, v3_plugin_view_parameter_finder_iid) ? &finder_ : nullptr;
}

// Window

v3_result View::attached(void* parent, const char* type) {
    if (!parent || !isX11(type)) return V3_INVALID_ARG;
    if (isAttached_) return V3_FALSE;
    if (!plugin_.viewOpens(*this, Held<v3_run_loop>::of(frame_.get(), v3_run_loop_iid)))
        return V3_FALSE;
    isAttached_ = true;
    std::string error;
    if (editor_.open({.parent = reinterpret_cast<std::uintptr_t>(parent)}, &error)) {
        editor_.show();
        return V3_OK;
    }
    std::fprintf(stderr, "kelvane: no editor: %s\n", error.c_str());
    close();
    return V3_INTERNAL_ERR;
}

v3_result View::removed() {
    if (!isAttached_) return V3_FALSE;
    close();
    return V3_OK;
}

void View::close() {
    if (!isAttached_) return;
    plugin_.viewCloses(*this);
    editor_.close();
    isAttached_ = false;
    plugin_.viewHasClosed();
}

v3_result View::setFrame(v3_plugin_frame** frame) {
    frame_ = Held<v3_plugin_frame>(frame);
    return V3_OK;
}

/// The host keeps the keys that are refused.
v3_result View::onKeyDown(std::int16_t character, std::int16_t code, std::int16_t modifiers) {
    return editor_.key(strokeOf(character, code, modifiers)) ? V3_OK : V3_FALSE;
}

v3_result View::findParameter(std::int32_t x, std::int32_t y, v3_param_id* id) {
    if (!id) return V3_INVALID_ARG;
    const auto control = editor_.controlAt(x, y);
    if (!control) return V3_FALSE;
    *id = static_cast<v3_param_id>(*control);
    return V3_OK;
}

// Size

v3_result View::getSize(v3_view_rect* rect) {
    if (!rect) return V3_INVALID_ARG;
    const auto size = editor_.size();
    *rect = {0, 0, size.width, size.height};
    return V3_OK;
}

v3_result View::onSize(v3_view_rect* rect) {
    if (!rect) return V3_INVALID_ARG;
    return editor_.setSize(sizeOf(*rect)) ? V3_OK : V3_INVALID_ARG;
}

/// The editor's own proportions; the side that differs more from the present size leads.
v3_result View::checkSizeConstraint(v3_view_rect* rect) {
    if (!rect) return V3_INVALID_ARG;
    constexpr auto largest = EditorWindow::largestSide;
    constexpr auto last = std::numeric_limits<std::int32_t>::max() - largest;
    if (rect->left > last || rect->top > last) return V3_INVALID_ARG;
    const auto now = editor_.size();
    auto asked = sizeOf(*rect);
    const auto own = editor_.ownSize();
    const bool widthLeads = std::abs(asked.width - now.width) * own.height >=
                            std::abs(asked.height - now.height) * own.width;
    (widthLeads ? asked.height : asked.width) = largest;
    const auto size = editor_.fitting(asked);
    rect->right = rect->left + size.width;
    rect->bottom = rect->top + size.height;
    return V3_OK;
}

/// The host resizes the view in this call, or does not.
void View::requestSize(EmbeddedEditor::Size size) {
    if (!frame_) return;
    v3_view_rect rect{0, 0, size.width, size.height};
    frame_(&v3_plugin_frame::resize_view, face(), &rect);
}

/// The size in points stays, so the host is requested to resize the view.
v3_result View::setContentScaleFactor(float factor) {
    if (!editor_.setScale(double{factor})) return V3_INVALID_ARG;
    if (editor_.isOpen()) requestSize(editor_.size());
    return V3_OK;
}

}  // namespace qov::hosts::vst3
