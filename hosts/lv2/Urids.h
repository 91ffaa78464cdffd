#pragma once

#include <lv2/urid/urid.h>

#include <array>

#include "hosts/lv2/Ports.h"

namespace platform {
class AUParameterTree;
}

namespace qov::hosts::lv2 {

/// The host's numbers for the URIs that are met while sound runs. Never 0.
struct Urids {
    Urids(const LV2_URID_Map& map, const platform::AUParameterTree& tree);

    LV2_URID atomBlank, atomObject, atomSequence, atomUrid, atomString;
    LV2_URID atomFloat, atomDouble, atomInt, atomLong, atomBool, atomBeatTime;
    LV2_URID midiEvent;
    LV2_URID patchSet, patchPut, patchGet;
    LV2_URID patchSubject, patchProperty, patchValue, patchBody, patchSequenceNumber;
    LV2_URID plugin, state, seenPorts;
    std::array<LV2_URID, parameterCount> parameters{};  ///< by address
};

}  // namespace qov::hosts::lv2
