// Names the messages of a short MIDI stream, and keeps a tempo as a meta event.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "util/MidiVocabulary.h"
#include "util/MyMetaEvent.h"

namespace {

/// The first name of a value in a family.
std::string name(const char* family, std::uint8_t value) {
    const auto found = std::ranges::find_if(qov::midiVocabulary, [&](const auto& constant) {
        return constant.value == value && constant.name.starts_with(family);
    });
    return found == qov::midiVocabulary.end() ? std::to_string(value) : std::string(found->name);
}

}  // namespace

int main() {
    const std::uint8_t stream[][3] = {
        {qov::STATUS_CONTROLLER | 0, qov::CONTROLLER_VOLUME, 100},
        {qov::STATUS_CONTROLLER | 9, qov::CONTROLLER_EXPRESSION, 64},
        {qov::STATUS_NOTEON | 0, 60, 90},
    };
    for (const auto& [status, first, second] : stream) {
        const bool isController = (status & 0xF0) == qov::STATUS_CONTROLLER;
        std::printf(
            "%s channel %d: %s %d\n", name("STATUS_", status & 0xF0).c_str(), (status & 0x0F) + 1,
            (isController ? name("CONTROLLER_", first) : std::to_string(first)).c_str(), second);
    }

    const auto tempo = qov::MyMetaEvent::init(3);  // 500000 us a quarter note
    tempo->mem[0] = 0x07;
    tempo->mem[1] = 0xA1;
    tempo->mem[2] = 0x20;
    std::printf("%s of %d bytes\n", name("META_", qov::META_SETTEMPO).c_str(),
                static_cast<int>(tempo->size));
    return name("CONTROLLER_", qov::CONTROLLER_SOUNDS_OFF) == "CONTROLLER_NOTES_OFF" ? 0 : 1;
}
