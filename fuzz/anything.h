#pragma once

#include <cmath>
#include <cstdint>
#include <iterator>
#include <vector>

/// White noise in -1..1 (a linear congruential generator), the same for the same seed.
class Noise {
 public:
    explicit Noise(std::uint8_t seed) : state_(seed * 2654435761U + 1) {}
    float next() {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<float>(static_cast<std::int32_t>(state_)) / 2147483648.0F;
    }
    /// What the last sample was made of: any bits.
    std::uint32_t bits() const { return state_; }
    std::uint8_t byte() { return next(), static_cast<std::uint8_t>(state_ >> 24); }

 private:
    std::uint32_t state_;
};

/// A parameter's value in 0..1, or an invalid one.
inline float anyValue(std::uint8_t choice) {
    if (choice < 200) return static_cast<float>(choice) / 199;
    constexpr float wrong[] = {NAN, INFINITY, -INFINITY, -1, 2, 1e-42F};
    return wrong[choice % std::size(wrong)];
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// The target's property as a test: on random inputs with this first byte.
inline void giveRandomInputs(std::uint8_t first, int rounds, std::size_t size,
                             std::uint8_t seed = 0) {
    Noise noise(seed);
    for (; rounds > 0; --rounds) {
        std::vector<std::uint8_t> bytes(size);
        for (auto& byte : bytes) byte = noise.byte();
        bytes[0] = first;
        LLVMFuzzerTestOneInput(bytes.data(), size);
    }
}
