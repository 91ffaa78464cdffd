#include <lv2/instance-access/instance-access.h>
#include <lv2/ui/ui.h>

#include <cstring>
#include <string>

#include "hosts/instance/guarded.h"
#include "hosts/instance/made.h"
#include "hosts/lv2/Editor.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/Uris.h"
#include "hosts/lv2/bodyFunctions.h"
#include "hosts/lv2/features.h"

namespace qov::hosts::lv2 {

namespace {

Editor& editorOf(LV2UI_Handle handle) {
    return *static_cast<Editor*>(handle);
}

/// What the call on the editor gives, as the format has it: 0 for success.
template <class Call>
int status(LV2UI_Handle handle, const Call& call) {
    return guarded(false, [&] { return call(editorOf(handle)); }) ? 0 : 1;
}

LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char*, const char*,
                         LV2UI_Write_Function write, LV2UI_Controller controller,
                         LV2UI_Widget* widget, const LV2_Feature* const* features) {
    auto* editor = made<Editor>([&](std::string* error) -> std::unique_ptr<Editor> {
        auto* plugin = Plugin::find(feature<void>(features, LV2_INSTANCE_ACCESS_URI));
        if (!plugin) {
            *error = "the editor needs a host that gives it the running instance";
            return nullptr;
        }
        const auto parent =
            reinterpret_cast<std::uintptr_t>(feature<void>(features, LV2_UI__parent));
        return Editor::open(*plugin,
                            {.write = write,
                             .controller = controller,
                             .touch = feature<const LV2UI_Touch>(features, LV2_UI__touch),
                             .resize = feature<const LV2UI_Resize>(features, LV2_UI__resize),
                             .parent = parent,
                             .scale = option<float>(features, LV2_UI__scaleFactor).value_or(0),
                             .title = textOption(features, LV2_UI__windowTitle)},
                            error);
    });
    if (!editor) return nullptr;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the format hands an X11 window over as a pointer.
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
