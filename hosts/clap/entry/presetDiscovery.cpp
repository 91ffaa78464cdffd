#include "hosts/clap/entry/presetDiscovery.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "audiounit/presets.h"
#include "hosts/instance/product.h"

namespace qov::hosts::clap {

// Only the names of the presets' table are used here: an entry may hold constants only.

namespace {

using abi::PresetProvider;
using abi::PresetReceiver;

const abi::PresetProviderDescriptor descriptor{CLAP_VERSION, "org.qov.kelvane.presets",
                                               "QOV Kelvane factory presets", product::maker};

const abi::PresetIndexer* indexerOf(const PresetProvider* provider) {
    return static_cast<const abi::PresetIndexer*>(provider->data);
}

bool init(const PresetProvider* provider) {
    const abi::PresetPlace place{abi::isFactoryContent, product::name, abi::inPlugin, nullptr};
    const auto* indexer = indexerOf(provider);
    return indexer->declare_location(indexer, &place);
}

bool getMetadata(const PresetProvider*, std::uint32_t kind, const char*,
                 const PresetReceiver* receiver) {
    if (kind != abi::inPlugin) return false;
    static_assert(factoryPresetCount <= 10, "a key is one digit");
    for (std::size_t number = 0; number < factoryPresetCount; ++number) {
        const char key[2] = {static_cast<char>('0' + number), 0};
        if (!receiver->begin_preset(receiver, presetNames[number].data(), key)) return false;
        const abi::UniversalPluginId plugin{"clap", product::identifier};
        receiver->add_plugin_id(receiver, &plugin);
        receiver->set_flags(receiver, abi::isFactoryContent);
        receiver->add_creator(receiver, product::maker);
    }
    return true;
}

const PresetProvider* create(const abi::PresetFactory*, const abi::PresetIndexer* indexer,
                             const char* id) {
    if (!indexer || !id || std::strcmp(id, descriptor.id) != 0) return nullptr;
    auto* memory = std::malloc(sizeof(PresetProvider));
    if (!memory) return nullptr;
    return new (memory) PresetProvider{
        .descriptor = &descriptor,
        .data = const_cast<abi::PresetIndexer*>(indexer),
        .init = init,
        .destroy =
            [](const PresetProvider* provider) {
                std::free(const_cast<PresetProvider*>(provider));
            },
        .get_metadata = getMetadata,
        .get_extension = [](const PresetProvider*, const char*) -> const void* { return nullptr; },
    };
}

}  // namespace

const abi::PresetFactory presetFactory{
    .count = [](const abi::PresetFactory*) -> std::uint32_t { return 1; },
    .get_descriptor = [](const abi::PresetFactory*,
                         std::uint32_t index) { return index == 0 ? &descriptor : nullptr; },
    .create = create,
};

}  // namespace qov::hosts::clap
