// Ports, and what a host asks about the signal.

#include <cstdio>

#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/extensions.h"

namespace qov::hosts::clap {

const clap_plugin_audio_ports_t extensions::audioPorts{
    .count = [](const clap_plugin_t*, bool) -> uint32_t { return 1; },
    .get =
        [](const clap_plugin_t*, uint32_t index, bool isInput, clap_audio_port_info_t* info) {
            if (index != 0 || !info) return false;
            *info = {};
            std::snprintf(info->name, sizeof info->name, "%s", isInput ? "Input" : "Output");
            info->flags = CLAP_AUDIO_PORT_IS_MAIN;
            info->channel_count = 2;
            info->port_type = CLAP_PORT_STEREO;
            info->in_place_pair = 0;  // both ports are number 0 of their side
            return true;
        },
};

const clap_plugin_note_ports_t extensions::notePorts{
    .count = [](const clap_plugin_t*, bool isInput) -> uint32_t { return isInput ? 1 : 0; },
    .get =
        [](const clap_plugin_t*, uint32_t index, bool isInput, clap_note_port_info_t* info) {
            if (index != 0 || !isInput || !info) return false;
            *info = {};
            info->supported_dialects = CLAP_NOTE_DIALECT_MIDI;
            info->preferred_dialect = CLAP_NOTE_DIALECT_MIDI;
            std::snprintf(info->name, sizeof info->name, "Controllers");
            return true;
        },
};

const clap_plugin_latency_t extensions::latency{
    .get =
        [](const clap_plugin_t* plugin) {
            return ClapPlugin::call(plugin, uint32_t{0}, [](auto& self) { return self.latency(); });
        },
};

const abi::PluginTail extensions::tail{
    .get =
        [](const clap_plugin_t* plugin) {
            return ClapPlugin::call(plugin, uint32_t{0}, [](auto& self) { return self.tail(); });
        },
};

// Both ways of rendering are the same to the effect.
const abi::PluginRender extensions::render{
    .has_hard_realtime_requirement = [](const clap_plugin_t*) { return false; },
    .set = [](const clap_plugin_t*,
              int32_t mode) { return mode == abi::realTime || mode == abi::offline; },
};

}  // namespace qov::hosts::clap
