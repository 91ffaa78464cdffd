#pragma once

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>
#include <lv2/urid/urid.h>

#include <array>
#include <string>

#include "hosts/lv2/Uris.h"

namespace qov::hosts::lv2 {

/// The host's numbers for the URIs that are compared on the audio thread. Never 0.
struct Urids {
    explicit Urids(const LV2_URID_Map& hostMap) : map(hostMap) {
        for (const auto& parameter : hostParameters)
            parameters[parameter.address] = of(parameterUri(parameter.identifier));
    }
    LV2_URID of(const std::string& uri) const { return map.map(map.handle, uri.c_str()); }

    const LV2_URID_Map& map;
    const LV2_URID atomBlank = of(LV2_ATOM__Blank), atomObject = of(LV2_ATOM__Object),
                   atomSequence = of(LV2_ATOM__Sequence), atomUrid = of(LV2_ATOM__URID),
                   atomString = of(LV2_ATOM__String), atomFloat = of(LV2_ATOM__Float),
                   atomDouble = of(LV2_ATOM__Double), atomInt = of(LV2_ATOM__Int),
                   atomLong = of(LV2_ATOM__Long), atomBool = of(LV2_ATOM__Bool),
                   atomBeatTime = of(LV2_ATOM__beatTime), midiEvent = of(LV2_MIDI__MidiEvent),
                   patchSet = of(LV2_PATCH__Set), patchPut = of(LV2_PATCH__Put),
                   patchGet = of(LV2_PATCH__Get), patchSubject = of(LV2_PATCH__subject),
                   patchProperty = of(LV2_PATCH__property), patchValue = of(LV2_PATCH__value),
                   patchBody = of(LV2_PATCH__body),
                   patchSequenceNumber = of(LV2_PATCH__sequenceNumber), plugin = of(product::uri),
                   state = of(stateUri()), seenPorts = of(seenPortsUri());
    std::array<LV2_URID, parameterCount> parameters{};  ///< by address
};

}  // namespace qov::hosts::lv2
