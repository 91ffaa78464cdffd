#include <clap/entry.h>
#include <clap/plugin-factory.h>

#include <cstring>

#include "hosts/bundle/bodyFunction.h"
#include "hosts/clap/entry/presetDiscovery.h"
#include "hosts/instance/product.h"

namespace {

namespace product = qov::hosts::product;

const char* features[] = {CLAP_PLUGIN_FEATURE_AUDIO_EFFECT, CLAP_PLUGIN_FEATURE_STEREO,
                          CLAP_PLUGIN_FEATURE_MIXING, CLAP_PLUGIN_FEATURE_ANALYZER, nullptr};

const clap_plugin_descriptor_t descriptor{
    .clap_version = CLAP_VERSION,
    .id = product::identifier,
    .name = product::name,
    .vendor = product::maker,
    .url = "",
    .manual_url = "",
    .support_url = "",
    .version = product::version,
    .description = product::summary,
    .features = features,
};

using Create = const clap_plugin_t*(const clap_plugin_descriptor_t*, const clap_host_t*);

const clap_plugin_t* create(const clap_plugin_factory_t*, const clap_host_t* host, const char* id) {
    if (!host || !clap_version_is_compatible(host->clap_version)) return nullptr;
    if (!id || std::strcmp(id, descriptor.id) != 0) return nullptr;
    auto* make = qov::hosts::bodyFunction<Create>("kelvane_clap_create");
    return make ? make(&descriptor, host) : nullptr;
}

const clap_plugin_factory_t factory{
    .get_plugin_count = [](const clap_plugin_factory_t*) -> uint32_t { return 1; },
    .get_plugin_descriptor = [](const clap_plugin_factory_t*,
                                uint32_t index) { return index == 0 ? &descriptor : nullptr; },
    .create_plugin = create,
};

const void* findFactory(const char* id) {
    namespace abi = qov::hosts::clap::abi;
    const auto is = [id](const char* name) { return id && std::strcmp(id, name) == 0; };
    if (is(CLAP_PLUGIN_FACTORY_ID)) return &factory;
    if (is(abi::presetDiscovery) || is(abi::presetDiscoveryDraft))
        return &qov::hosts::clap::presetFactory;
    return nullptr;
}

}  // namespace

extern "C" {
const clap_plugin_entry_t clap_entry{
    .clap_version = CLAP_VERSION,
    .init = [](const char*) { return true; },
    .deinit = [] {},
    .get_factory = findFactory,
};
}
