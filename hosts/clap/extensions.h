#pragma once

#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>

#include "hosts/clap/abi.h"

/// What a plug-in offers to its host: the tables of functions, each on the ClapPlugin behind the
/// plug-in that it is called with.
namespace qov::hosts::clap::extensions {

extern const clap_plugin_audio_ports_t audioPorts;
extern const clap_plugin_note_ports_t notePorts;
extern const clap_plugin_latency_t latency;
extern const abi::PluginTail tail;
extern const abi::PluginRender render;

extern const clap_plugin_params_t params;
extern const clap_plugin_state_t state;
extern const abi::PluginPresetLoad presetLoad;

extern const clap_plugin_gui_t gui;
extern const clap_plugin_timer_support_t timerSupport;
extern const abi::PluginPosixFdSupport posixFdSupport;

/// The extension of that name, null for one that is not here. Any thread.
const void* find(const char* id);

}  // namespace qov::hosts::clap::extensions
