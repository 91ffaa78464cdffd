#pragma once

#include <array>
#include <cstdint>

namespace qov::hosts {

/// Something a host says at a frame of a block: a parameter's new value or a MIDI 1.0 message.
/// Hosts are not trusted: see EventList for what becomes of wrong ones.
struct HostEvent {
    enum class Kind : std::uint8_t { parameter, midi };

    std::uint32_t frame = 0;  ///< from the start of the block
    Kind kind = Kind::parameter;
    std::uint8_t midiLength = 0;  ///< bytes used
    std::array<std::uint8_t, 3> midi{};
    std::uint64_t address = 0;
    float value = 0;

    static HostEvent parameter(std::uint32_t frame, std::uint64_t address, float value) {
        return {.frame = frame, .address = address, .value = value};
    }
    static HostEvent message(std::uint32_t frame, std::array<std::uint8_t, 3> bytes) {
        return {.frame = frame, .kind = Kind::midi, .midiLength = 3, .midi = bytes};
    }
};

}  // namespace qov::hosts
