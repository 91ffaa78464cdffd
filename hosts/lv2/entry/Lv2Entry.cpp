#include <lv2/core/lv2.h>

#include <atomic>

#include "hosts/bundle/bodyFunction.h"
#include "hosts/instance/product.h"

// The plug-in's description; its functions are in the body, which the first instance loads.

namespace {

std::atomic<const LV2_Descriptor*> inBody{nullptr};

const LV2_Descriptor* find() {
    if (const auto* known = inBody.load(std::memory_order_relaxed)) return known;
    auto* plugin = qov::hosts::bodyFunction<const LV2_Descriptor*()>("kelvane_lv2_plugin");
    const auto* found = plugin ? plugin() : nullptr;
    inBody.store(found, std::memory_order_relaxed);
    return found;
}

/// For a handle that the body has made.
const LV2_Descriptor& real() {
    return *inBody.load(std::memory_order_relaxed);
}

const LV2_Descriptor descriptor{
    qov::hosts::product::uri,
    [](const LV2_Descriptor*, double sampleRate, const char* bundle,
       const LV2_Feature* const* features) -> LV2_Handle {
        const auto* plugin = find();
        return plugin ? plugin->instantiate(plugin, sampleRate, bundle, features) : nullptr;
    },
    [](LV2_Handle handle, uint32_t port, void* memory) {
        real().connect_port(handle, port, memory);
    },
    [](LV2_Handle handle) { real().activate(handle); },
    [](LV2_Handle handle, uint32_t frames) { real().run(handle, frames); },
    [](LV2_Handle handle) { real().deactivate(handle); },
    [](LV2_Handle handle) { real().cleanup(handle); },
    [](const char* uri) -> const void* {
        const auto* plugin = find();
        return plugin ? plugin->extension_data(uri) : nullptr;
    },
};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    return index == 0 ? &descriptor : nullptr;
}
