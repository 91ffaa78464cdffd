// The tables of functions that a plug-in offers to its host.

#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>

#include <cstdio>
#include <cstring>
#include <utility>

#include "audiounit/parameters.h"
#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/abi.h"

namespace qov::hosts::clap {
namespace {

// Ports and the signal

const clap_plugin_audio_ports_t audioPorts{
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

const clap_plugin_note_ports_t notePorts{
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

const clap_plugin_latency_t latency{entry<&ClapPlugin::latency>};
const abi::PluginTail tail{entry<&ClapPlugin::tail>};
// The effect renders the same in both modes.
const abi::PluginRender render{
    .has_hard_realtime_requirement = [](const clap_plugin_t*) { return false; },
    .set = [](const clap_plugin_t*,
              int32_t mode) { return mode == abi::realTime || mode == abi::offline; },
};

// Parameters, with their addresses as ids

const clap_plugin_params_t params{
    .count = [](const clap_plugin_t*) -> uint32_t { return parameterCount; },
    .get_info =
        [](const clap_plugin_t*, uint32_t index, clap_param_info_t* info) {
            if (index >= parameterCount || !info) return false;
            const auto& parameter = hostParameters[index];
            *info = {};
            info->id = static_cast<clap_id>(parameter.address);
            info->flags = CLAP_PARAM_IS_AUTOMATABLE;
            if (parameter.isSwitch()) info->flags |= CLAP_PARAM_IS_STEPPED;
            if (parameter.address == kBypass) info->flags |= CLAP_PARAM_IS_BYPASS;
            std::snprintf(info->name, sizeof info->name, "%s", parameter.name.data());
            info->max_value = 1;
            info->default_value = double{parameter.initial};
            return true;
        },
    .get_value = entry<&ClapPlugin::getValue>,
    .value_to_text = entry<&ClapPlugin::valueToText>,
    .text_to_value = entry<&ClapPlugin::textToValue>,
    .flush = entry<&ClapPlugin::flush>,
};

// State and presets

const clap_plugin_state_t state{entry<&ClapPlugin::save>, entry<&ClapPlugin::load>};
const abi::PluginPresetLoad presetLoad{entry<&ClapPlugin::loadPreset>};

// The editor, and the host's calls that run it

const clap_plugin_gui_t gui{
    .is_api_supported = [](const clap_plugin_t*, const char* api,
                           bool isFloating) { return ClapEditor::isSupported(api, isFloating); },
    .get_preferred_api =
        [](const clap_plugin_t*, const char** api, bool* isFloating) {
            if (!api || !isFloating) return false;
            *api = CLAP_WINDOW_API_X11;
            *isFloating = false;
            return true;
        },
    .create = entry<&ClapEditor::create>,
    .destroy = entry<&ClapPlugin::destroyEditor>,
    .set_scale = entry<&ClapEditor::setScale>,
    .get_size = entry<&ClapEditor::getSize>,
    .can_resize = [](const clap_plugin_t*) { return true; },
    .get_resize_hints = entry<&ClapEditor::getResizeHints>,
    .adjust_size = entry<&ClapEditor::adjustSize>,
    .set_size = entry<&ClapEditor::setSize>,
    .set_parent = entry<&ClapEditor::setParent>,
    .set_transient = entry<&ClapEditor::setTransient>,
    .suggest_title = entry<&ClapEditor::setTitle>,
    .show = entry<&ClapEditor::show>,
    .hide = entry<&ClapEditor::hide>,
};

const clap_plugin_timer_support_t timerSupport{entry<&ClapPlugin::onTimer>};
const abi::PluginPosixFdSupport posixFdSupport{entry<&ClapPlugin::onDescriptor>};

}  // namespace

const void* ClapPlugin::findExtension(const char* id) {
    constexpr std::pair<const char*, const void*> all[] = {
        {CLAP_EXT_AUDIO_PORTS, &audioPorts},
        {CLAP_EXT_NOTE_PORTS, &notePorts},
        {CLAP_EXT_LATENCY, &clap::latency},
        {abi::tail, &clap::tail},
        {abi::render, &render},
        {CLAP_EXT_PARAMS, &params},
        {CLAP_EXT_STATE, &state},
        {abi::presetLoad, &presetLoad},
        {abi::presetLoadDraft, &presetLoad},
        {CLAP_EXT_GUI, &gui},
        {CLAP_EXT_TIMER_SUPPORT, &timerSupport},
        {abi::posixFdSupport, &posixFdSupport},
    };
    for (const auto& [name, extension] : all)
        if (id && std::strcmp(id, name) == 0) return extension;
    return nullptr;
}

}  // namespace qov::hosts::clap
