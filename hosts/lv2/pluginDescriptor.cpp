#include <lv2/core/lv2.h>
#include <lv2/state/state.h>

#include <cstring>
#include <string>

#include "hosts/instance/guarded.h"
#include "hosts/instance/made.h"
#include "hosts/instance/product.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/bodyFunctions.h"

namespace qov::hosts::lv2 {

namespace {

Plugin& plugin(LV2_Handle handle) {
    return *static_cast<Plugin*>(handle);
}

LV2_Handle instantiate(const LV2_Descriptor*, double sampleRate, const char*,
                       const LV2_Feature* const* features) {
    return made<Plugin>(
        [&](std::string* error) { return Plugin::create(sampleRate, features, error); });
}

LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state,
                      std::uint32_t, const LV2_Feature* const*) {
    return guarded(LV2_STATE_ERR_NO_SPACE, [&] { return plugin(handle).save(store, state); });
}

LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle state, std::uint32_t, const LV2_Feature* const*) {
    return guarded(LV2_STATE_ERR_UNKNOWN, [&] { return plugin(handle).restore(retrieve, state); });
}

const void* extensionData(const char* uri) {
    static const LV2_State_Interface state{save, restore};
    return uri && std::strcmp(uri, LV2_STATE__interface) == 0 ? &state : nullptr;
}

const LV2_Descriptor descriptor{
    product::uri,
    instantiate,
    [](LV2_Handle handle, std::uint32_t port, void* memory) {
        guarded([&] { plugin(handle).connect(port, memory); });
    },
    [](LV2_Handle handle) { guarded([&] { plugin(handle).activate(); }); },
    [](LV2_Handle handle, std::uint32_t frames) { guarded([&] { plugin(handle).run(frames); }); },
    [](LV2_Handle handle) { guarded([&] { plugin(handle).deactivate(); }); },
    [](LV2_Handle handle) { delete &plugin(handle); },
    extensionData,
};

}  // namespace
}  // namespace qov::hosts::lv2

[[gnu::visibility("default")]] const LV2_Descriptor* kelvane_lv2_plugin() {
    return &qov::hosts::lv2::descriptor;
}
