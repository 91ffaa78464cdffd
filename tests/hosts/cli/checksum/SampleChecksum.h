#pragma once

#include <bit>
#include <cstdint>

/// FNV-1a over the bits of samples.
class SampleChecksum {
 public:
    void add(float sample) {
        const auto word = std::bit_cast<std::uint32_t>(sample);
        for (int shift = 0; shift < 32; shift += 8) {
            hash_ ^= word >> shift & 0xFF;
            hash_ *= 0x100000001B3;
        }
    }
    std::uint64_t value() const { return hash_; }

 private:
    std::uint64_t hash_ = 0xCBF29CE484222325;
};
