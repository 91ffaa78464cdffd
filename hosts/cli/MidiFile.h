#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::cli {

/// A message or meta event of one track.
struct MidiFileEvent {
    std::int64_t pulse = 0;  ///< since the start of the song
    /// With its status byte and without a length: a meta event as FF, type, data.
    std::vector<std::uint8_t> bytes;
};

/// A standard MIDI file of format 0 or 1 whose time is counted in pulses of a quarter note.
struct MidiFile {
    int pulsesPerQuarter = 0;
    std::vector<MidiFileEvent> events;  ///< by time; those of one pulse by track
};

/// Reads a file's bytes. Throws Failure, "<name>: byte <offset>: <what is wrong>", where they are
/// damaged or of a kind that is not supported.
MidiFile parseMidiFile(std::span<const std::uint8_t> bytes, const std::string& name);

/// The same for a file; also throws Failure where it can't be read.
MidiFile readMidiFile(const std::string& path);

/// The frame of each event at `sampleRate` frames a second (1..10000000), the nearest one, half a
/// frame counting up. Calculated in whole numbers from the tempo changes of all tracks; the tempo
/// is 120 before the first.
std::vector<std::int64_t> eventFrames(const MidiFile& file, std::int64_t sampleRate);

/// The control changes that set a parameter of the effect, on any channel, as MIDI events whose
/// time is their frame.
std::vector<platform::AURenderEvent> midiAutomation(const MidiFile& file, std::int64_t sampleRate);

}  // namespace qov::cli
