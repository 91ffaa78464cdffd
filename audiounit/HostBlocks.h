#pragma once

#include <mutex>

#include "platform/audiotoolbox/AUAudioUnit.h"

namespace qov {

// The host's blocks that were adopted last in this process: every audio unit writes the same four
// variables, and nothing reads them. A block stays referenced until the next audio unit allocates.
extern platform::AUHostMusicalContextBlock _musicalContext;
extern platform::AUHostTransportStateBlock _transportStateBlock;
extern platform::AUScheduleMIDIEventBlock _scheduleMIDIEventBlock;
extern platform::AUMIDIOutputEventBlock _outputEventBlock;

/// Guards the four, as audio units may allocate on several threads at the same time.
extern std::mutex hostBlocksMutex;

}  // namespace qov
