#pragma once

#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/host.h>

#include "hosts/clap/abi.h"

namespace qov::hosts::clap {

/// A host and its extensions; null for one that it lacks.
struct ClapHost {
    explicit ClapHost(const clap_host_t* asked) : host(asked) {}

    /// Not before the plug-in's init. Main thread.
    void findExtensions() {
        find(params, CLAP_EXT_PARAMS);
        find(state, CLAP_EXT_STATE);
        find(latency, CLAP_EXT_LATENCY);
        find(gui, CLAP_EXT_GUI);
        find(timers, CLAP_EXT_TIMER_SUPPORT);
        find(descriptors, abi::posixFdSupport);
        find(presets, abi::presetLoad);
        if (!presets) find(presets, abi::presetLoadDraft);
    }

    const clap_host_t* const host;
    const clap_host_params_t* params = nullptr;
    const clap_host_state_t* state = nullptr;
    const clap_host_latency_t* latency = nullptr;
    const clap_host_gui_t* gui = nullptr;
    const clap_host_timer_support_t* timers = nullptr;
    const abi::HostPosixFdSupport* descriptors = nullptr;
    const abi::HostPresetLoad* presets = nullptr;

 private:
    template <class Extension>
    void find(const Extension*& extension, const char* id) {
        extension = static_cast<const Extension*>(host->get_extension(host, id));
    }
};

}  // namespace qov::hosts::clap
