#include "hosts/clap/extensions.h"

#include <array>
#include <cstring>
#include <utility>

namespace qov::hosts::clap {

const void* extensions::find(const char* id) {
    static constexpr std::array<std::pair<const char*, const void*>, 12> all{{
        {CLAP_EXT_AUDIO_PORTS, &audioPorts},
        {CLAP_EXT_NOTE_PORTS, &notePorts},
        {CLAP_EXT_LATENCY, &latency},
        {abi::tail, &tail},
        {abi::render, &render},
        {CLAP_EXT_PARAMS, &params},
        {CLAP_EXT_STATE, &state},
        {abi::presetLoad, &presetLoad},
        {abi::presetLoadDraft, &presetLoad},
        {CLAP_EXT_GUI, &gui},
        {CLAP_EXT_TIMER_SUPPORT, &timerSupport},
        {abi::posixFdSupport, &posixFdSupport},
    }};
    for (const auto& [name, extension] : all)
        if (id && std::strcmp(id, name) == 0) return extension;
    return nullptr;
}

}  // namespace qov::hosts::clap
