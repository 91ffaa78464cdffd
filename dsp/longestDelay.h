#pragma once

namespace qov {

/// Frames by which kPhaseShift at 1 delays: those of a hundredth of a second, with their fraction.
constexpr float longestDelay(float sampleRate) {
    return sampleRate / 100.0f;
}

}  // namespace qov
