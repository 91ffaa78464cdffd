// The editor of a plug-in in the same process, as an X11 UI.

#include <lv2/instance-access/instance-access.h>
#include <lv2/ui/ui.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hosts/instance/guarded.h"
#include "hosts/instance/made.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/Ports.h"
#include "hosts/lv2/Uris.h"
#include "hosts/lv2/bodyFunctions.h"
#include "hosts/lv2/features.h"
#include "hosts/window/EmbeddedEditor.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::lv2 {
namespace {

/// Inside a host's window, or floating where the host gives none. It is drawn in the host's idle
/// calls. A user's change takes effect at once and is written to the control ports. It shows the
/// plug-in's own values; port events matter only while the host does not process. Host's editor
/// thread.
class Editor {
 public:
    /// The host's part of an editor, from its start on.
    struct Host {
        LV2UI_Write_Function write;
        LV2UI_Controller controller;
        const LV2UI_Touch* touch;    // or null
        const LV2UI_Resize* resize;  // or null
        std::uint64_t parent;        // an X11 window; 0 for none
        std::string title;
    };

    Editor(Plugin& plugin, Host host, double scale) : plugin_(&plugin), host_(std::move(host)) {
        window_.emplace(plugin.instance(), scale);
        plugin.onDelete = [this] {
            window_.reset();
            plugin_ = nullptr;
        };
    }
    ~Editor() {
        if (!plugin_) return;
        window_.reset();  // which ends touches
        guarded([&] { writeEdits(); });
        plugin_->onDelete = {};
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    /// Shows it where it has a parent. False, with a line about why in *error.
    bool open(std::string* error) {
        if (!window_->open({.parent = host_.parent, .title = host_.title}, error)) return false;
        window_->requestSize = [this](EmbeddedEditor::Size size) {
            return host_.resize &&
                   host_.resize->ui_resize(host_.resize->handle, size.width, size.height) == 0;
        };
        window_->requestSize(window_->size());
        if (host_.parent) window_->show();
        return true;
    }
    /// The X11 window.
    std::uint64_t handle() const { return window_->handle(); }
    /// Draws and reports edits. False once the user, the screen or the plug-in has closed it.
    bool idle() {
        if (!plugin_) return false;
        plugin_->watch();
        plugin_->instance().pump();
        writeEdits();
        isClosed_ |= window_->takeEnd() != EmbeddedEditor::End::none;
        return !isClosed_;
    }
    /// A port event of a control port; others are ignored.
    void portChanged(std::uint32_t port, float value) {
        if (plugin_ && port >= firstControl && port < firstControl + parameterCount)
            plugin_->portChanged(port - firstControl, value);
    }
    // For a window of its own
    bool show() {
        isClosed_ = false;
        return window_ && window_->show();
    }
    bool hide() { return window_ && window_->hide(); }
    bool setSize(int width, int height) { return window_ && window_->setSize({width, height}); }

 private:
    void writeEdits() {
        using Kind = EditExchange::Edit::Kind;
        auto& controls = plugin_->controls();
        plugin_->instance().edits().take([&](const EditExchange::Edit& edit) {
            const auto port = firstControl + static_cast<std::uint32_t>(edit.address);
            const auto touch = [&](bool isDown) {
                if (host_.touch) host_.touch->touch(host_.touch->handle, port, isDown);
            };
            const float value = portOfParameter(edit.address, edit.value);
            switch (edit.kind) {
                case Kind::begin:
                    controls.hold(edit.address);
                    touch(true);
                    break;
                case Kind::value:
                    controls.wrote(edit.address, value);
                    if (host_.write) host_.write(host_.controller, port, sizeof value, 0, &value);
                    break;
                case Kind::end:
                    touch(false);
                    controls.release(edit.address);
                    break;
            }
        });
    }

    Plugin* plugin_;  // null once it is deleted
    const Host host_;
    std::optional<EmbeddedEditor> window_;  // empty once the plug-in is deleted
    bool isClosed_ = false;
};

Editor& editorOf(LV2UI_Handle handle) {
    return *static_cast<Editor*>(handle);
}

/// The format's status of a call that may fail: 0 for success.
template <class Call>
int status(LV2UI_Handle handle, const Call& call) {
    return guarded(false, [&] { return call(editorOf(handle)); }) ? 0 : 1;
}

std::unique_ptr<Editor> open(const LV2_Feature* const* features, LV2UI_Write_Function write,
                             LV2UI_Controller controller, std::string* error) {
    auto* plugin = Plugin::find(feature<void>(features, LV2_INSTANCE_ACCESS_URI));
    if (!plugin || plugin->onDelete) {
        *error = plugin ? "this instance's editor is open already"
                        : "the editor needs a host that gives it the running instance";
        return nullptr;
    }
    const auto asked = option<float>(features, LV2_UI__scaleFactor).value_or(0);
    const auto scale =
        asked > 0 ? std::optional<double>(asked) : platform::NativeWindow::desktopScale(error);
    if (!scale) return nullptr;
    const auto parent = reinterpret_cast<std::uintptr_t>(feature<void>(features, LV2_UI__parent));
    auto editor = std::make_unique<Editor>(
        *plugin,
        Editor::Host{.write = write,
                     .controller = controller,
                     .touch = feature<const LV2UI_Touch>(features, LV2_UI__touch),
                     .resize = feature<const LV2UI_Resize>(features, LV2_UI__resize),
                     .parent = parent,
                     .title = textOption(features, LV2_UI__windowTitle)},
        *scale);
    return editor->open(error) ? std::move(editor) : nullptr;
}

LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char*, const char*,
                         LV2UI_Write_Function write, LV2UI_Controller controller,
                         LV2UI_Widget* widget, const LV2_Feature* const* features) {
    auto* editor =
        made<Editor>([&](std::string* error) { return open(features, write, controller, error); });
    if (!editor) return nullptr;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the format passes an X11 window as a pointer.
    *widget = reinterpret_cast<LV2UI_Widget>(static_cast<std::uintptr_t>(editor->handle()));
    return editor;
}

void portEvent(LV2UI_Handle handle, std::uint32_t port, std::uint32_t size, std::uint32_t format,
               const void* buffer) {
    float value;
    if (format != 0 || size != sizeof value || !buffer) return;
    std::memcpy(&value, buffer, sizeof value);
    guarded([&] { editorOf(handle).portChanged(port, value); });
}

const void* extensionData(const char* uri) {
    static const LV2UI_Idle_Interface idle{
        [](LV2UI_Handle handle) { return status(handle, [](Editor& it) { return it.idle(); }); }};
    static const LV2UI_Show_Interface show{
        [](LV2UI_Handle handle) { return status(handle, [](Editor& it) { return it.show(); }); },
        [](LV2UI_Handle handle) { return status(handle, [](Editor& it) { return it.hide(); }); }};
    static const LV2UI_Resize resize{
        nullptr, [](LV2UI_Feature_Handle handle, int width, int height) {
            return status(handle, [&](Editor& it) { return it.setSize(width, height); });
        }};
    if (!uri) return nullptr;
    if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &idle;
    if (std::strcmp(uri, LV2_UI__showInterface) == 0) return &show;
    if (std::strcmp(uri, LV2_UI__resize) == 0) return &resize;
    return nullptr;
}

}  // namespace
}  // namespace qov::hosts::lv2

[[gnu::visibility("default")]] const LV2UI_Descriptor* kelvane_lv2_editor() {
    using namespace qov::hosts::lv2;
    static const std::string uri = editorUri();
    static const LV2UI_Descriptor descriptor{
        uri.c_str(), instantiate,   [](LV2UI_Handle handle) { delete &editorOf(handle); },
        portEvent,   extensionData,
    };
    return &descriptor;
}
