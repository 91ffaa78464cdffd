#include "hosts/clap/entry/presetDiscovery.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "hosts/instance/presetBank.h"
#include "hosts/instance/presetFolder.h"
#include "hosts/instance/product.h"

namespace qov::hosts::clap {

// Only the table of the presets is used here: an entry may hold constants only.

namespace {

using abi::PresetProvider;
using abi::PresetReceiver;

const abi::PresetProviderDescriptor descriptor{CLAP_VERSION, "org.qov.kelvane.presets",
                                               "QOV Kelvane presets", product::maker};

const abi::PresetIndexer* indexerOf(const PresetProvider* provider) {
    return static_cast<const abi::PresetIndexer*>(provider->data);
}

bool init(const PresetProvider* provider) {
    const abi::PresetPlace place{abi::isFactoryContent, product::name, abi::inPlugin, nullptr};
    const auto* indexer = indexerOf(provider);
    if (!indexer->declare_location(indexer, &place)) return false;
    char folder[PATH_MAX];
    if (!findPresetFolder(folder, sizeof folder) || access(folder, R_OK) != 0) return true;
    const abi::PresetFileType type{"QOV Kelvane preset", "", presetEnding + 1};
    const abi::PresetPlace users{abi::isUserContent, "User", abi::inFile, folder};
    return indexer->declare_filetype(indexer, &type) && indexer->declare_location(indexer, &users);
}

bool describePreset(const PresetReceiver* receiver, const char* name, const char* key,
                    std::uint32_t flags) {
    if (!receiver->begin_preset(receiver, name, key)) return false;
    const abi::UniversalPluginId plugin{"clap", product::identifier};
    receiver->add_plugin_id(receiver, &plugin);
    receiver->set_flags(receiver, flags);
    return true;
}

/// A user's preset: its name is the file's.
bool describeFile(const PresetReceiver* receiver, const char* path) {
    const char* const slash = std::strrchr(path, '/');
    char name[NAME_MAX + 1];
    std::snprintf(name, sizeof name, "%s", slash ? slash + 1 : path);
    if (char* const dot = std::strrchr(name, '.')) *dot = 0;
    return describePreset(receiver, name, nullptr, abi::isUserContent);
}

bool getMetadata(const PresetProvider*, std::uint32_t kind, const char* location,
                 const PresetReceiver* receiver) {
    if (kind == abi::inFile) return location && describeFile(receiver, location);
    if (kind != abi::inPlugin) return false;
    char key[4];
    for (std::size_t number = 0; number < presetBank.size(); ++number) {
        const auto& preset = presetBank[number];
        std::snprintf(key, sizeof key, "%zu", number);
        if (!describePreset(receiver, preset.name.data(), key, abi::isFactoryContent)) return false;
        receiver->add_creator(receiver, product::maker);
        receiver->set_description(receiver, preset.summary.data());
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
