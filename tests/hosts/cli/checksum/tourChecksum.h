#pragma once

#include <bit>
#include <cstdint>

/// FNV-1a over the bits of samples, left and right in turn.
class SampleChecksum {
 public:
    void add(float left, float right) {
        add(std::bit_cast<std::uint32_t>(left));
        add(std::bit_cast<std::uint32_t>(right));
    }
    std::uint64_t value() const { return hash_; }

 private:
    void add(std::uint32_t word) {
        for (int shift = 0; shift < 32; shift += 8) {
            hash_ ^= word >> shift & 0xFF;
            hash_ *= 0x100000001B3;
        }
    }
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

/// Of the demo's tour. A change of this number is a change of the sound that people hear.
inline constexpr std::uint64_t tourChecksum = 0x6F8E51CC223DD9D5;
/// Of noise through changing settings.
inline constexpr std::uint64_t noiseChecksum = 0xC7325D60999C0D46;
