#pragma once

#include <string>

#include "hosts/cli/Command.h"
#include "hosts/cli/MidiFile.h"

namespace qov::cli {

/// kelvane midi: lists the events of a standard MIDI file.
int runMidi(const Arguments& arguments);

/// An event in the vocabulary's names: "STATUS_CONTROLLER channel 1 CONTROLLER_PAN 64". One line
/// whatever the bytes are.
std::string describe(const MidiFileEvent& event);

}  // namespace qov::cli
