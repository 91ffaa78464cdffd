// What a project keeps, and presets.

#include <array>
#include <charconv>
#include <cstring>
#include <string>

#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/extensions.h"

namespace qov::hosts::clap {
namespace {

constexpr std::size_t largestState = 1 << 20;  // bytes; ours have some hundreds

bool save(ClapPlugin& self, const clap_ostream_t& stream) {
    const auto text = self.instance().saveState();
    for (std::size_t written = 0; written < text.size();) {
        const auto count = stream.write(&stream, text.data() + written, text.size() - written);
        if (count <= 0) return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

/// After all values have changed at once: the editor follows, the host asks for them anew.
void tellOfNewValues(ClapPlugin& self) {
    self.turn();
    const auto& host = self.host();
    if (host.params) host.params->rescan(host.host, CLAP_PARAM_RESCAN_VALUES);
}

bool load(ClapPlugin& self, const clap_istream_t& stream) {
    std::string text;
    std::array<char, 4096> part;
    for (;;) {
        const auto count = stream.read(&stream, part.data(), part.size());
        if (count < 0 || count > static_cast<int64_t>(part.size())) return false;
        if (count == 0) break;
        text.append(part.data(), static_cast<std::size_t>(count));
        if (text.size() > largestState) return false;
    }
    if (!self.instance().restoreState(text)) return false;
    tellOfNewValues(self);
    return true;
}

/// The key is the preset's number.
bool loadPreset(ClapPlugin& self, uint32_t kind, const char* location, const char* key) {
    const auto& host = self.host();
    std::size_t number = 0;
    const char* const end = key ? key + std::strlen(key) : nullptr;
    const bool isOurs = kind == abi::inPlugin && key && *key &&
                        std::from_chars(key, end, number).ptr == end &&
                        self.instance().selectFactoryPreset(number);
    if (!isOurs) {
        if (host.presets)
            host.presets->on_error(host.host, kind, location, key, 0,
                                   "the plug-in has no such preset");
        return false;
    }
    tellOfNewValues(self);
    // The preset's name is in the state, and no parameter.
    if (host.state) host.state->mark_dirty(host.host);
    if (host.presets) host.presets->loaded(host.host, kind, location, key);
    return true;
}

}  // namespace

const clap_plugin_state_t extensions::state{
    .save =
        [](const clap_plugin_t* plugin, const clap_ostream_t* stream) {
            return stream &&
                   ClapPlugin::call(plugin, false, [&](auto& self) { return save(self, *stream); });
        },
    .load =
        [](const clap_plugin_t* plugin, const clap_istream_t* stream) {
            return stream &&
                   ClapPlugin::call(plugin, false, [&](auto& self) { return load(self, *stream); });
        },
};

const abi::PluginPresetLoad extensions::presetLoad{
    .from_location =
        [](const clap_plugin_t* plugin, uint32_t kind, const char* location, const char* key) {
            return ClapPlugin::call(
                plugin, false, [&](auto& self) { return loadPreset(self, kind, location, key); });
        },
};

}  // namespace qov::hosts::clap
