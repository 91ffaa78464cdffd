#include "hosts/lv2/Urids.h"

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>

#include "hosts/lv2/Uris.h"
#include "platform/audiotoolbox/AUParameterTree.h"

namespace qov::hosts::lv2 {

Urids::Urids(const LV2_URID_Map& map, const platform::AUParameterTree& tree) {
    const auto number = [&](const std::string& uri) { return map.map(map.handle, uri.c_str()); };
    atomBlank = number(LV2_ATOM__Blank);
    atomObject = number(LV2_ATOM__Object);
    atomSequence = number(LV2_ATOM__Sequence);
    atomUrid = number(LV2_ATOM__URID);
    atomString = number(LV2_ATOM__String);
    atomFloat = number(LV2_ATOM__Float);
    atomDouble = number(LV2_ATOM__Double);
    atomInt = number(LV2_ATOM__Int);
    atomLong = number(LV2_ATOM__Long);
    atomBool = number(LV2_ATOM__Bool);
    atomBeatTime = number(LV2_ATOM__beatTime);
    midiEvent = number(LV2_MIDI__MidiEvent);
    patchSet = number(LV2_PATCH__Set);
    patchPut = number(LV2_PATCH__Put);
    patchGet = number(LV2_PATCH__Get);
    patchSubject = number(LV2_PATCH__subject);
    patchProperty = number(LV2_PATCH__property);
    patchValue = number(LV2_PATCH__value);
    patchBody = number(LV2_PATCH__body);
    patchSequenceNumber = number(LV2_PATCH__sequenceNumber);
    plugin = number(product::uri);
    state = number(stateUri());
    seenPorts = number(seenPortsUri());
    for (const auto& parameter : tree.allParameters())
        parameters[parameter->address()] = number(parameterUri(parameter->identifier()));
}

}  // namespace qov::hosts::lv2
