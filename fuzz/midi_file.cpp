#include <cstddef>
#include <cstdint>
#include <string>

#include "hosts/cli/Command.h"
#include "hosts/cli/MidiFile.h"

// Any bytes: they are a MIDI file, or the error is one line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto file = qov::cli::parseMidiFile({data, size}, "fuzz.mid");
        for (const auto& event : qov::cli::midiAutomation(file, 1'048'576))
            if (event.head.eventSampleTime < 0 || (event.MIDI.data[1] & 0x80)) __builtin_trap();
    } catch (const qov::cli::Failure& failure) {
        if (std::string(failure.what()).find('\n') != std::string::npos) __builtin_trap();
    }
    return 0;
}
