#pragma once

#include <vector>

namespace qov::cli {

/// A short piece of stereo music to hear the effect with: plucked strings to the left, an electric
/// piano that drifts between the sides, a bass in the centre, brushes and a room.
///
/// The same bits on every machine, compiler and optimisation level: integer phases and noise, and
/// no arithmetic besides + - * / in doubles.
struct Phrase {
    static constexpr int rate = 44100;
    std::vector<float> left, right;  ///< of one length, peak 0.9
};

/// Computes the phrase.
Phrase playPhrase();

}  // namespace qov::cli
