#pragma once

#include <mutex>

#include "platform/audiotoolbox/AUAudioUnit.h"

namespace qov {

// What the host lent last, in the whole process: every audio unit writes these same slots, and
// nothing reads them. A block lent stays referenced until the next audio unit allocates.
extern platform::AUHostMusicalContextBlock _musicalContext;
extern platform::AUHostTransportStateBlock _transportStateBlock;
extern platform::AUScheduleMIDIEventBlock _scheduleMIDIEventBlock;
extern platform::AUMIDIOutputEventBlock _outputEventBlock;

/// Guards the four: audio units of different threads allocate at the same time.
extern std::mutex hostBlocksMutex;

}  // namespace qov
