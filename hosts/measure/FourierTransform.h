#pragma once

#include <cstddef>
#include <vector>

namespace qov::measure {

/// The discrete Fourier transform of complex signals of a length that is a power of two,
///
///     X[k] = sum over t of x[t] exp(-2 pi i k t / length),
///
/// by Stockham's algorithm, which sorts while it transforms, so that every pass runs along memory.
class FourierTransform {
 public:
    explicit FourierTransform(std::size_t length);
    /// Puts the transform of the signal in its place.
    void run();

    std::vector<float> real, imaginary;  ///< the signal, then its transform; first zeros

 private:
    /// Sums and differences of samples that lie half a transform apart; `stride` transforms, twice
    /// `half` long, are interleaved.
    void pass(std::size_t half, std::size_t stride);

    std::vector<float> cosines_, sines_;  ///< of half a turn clockwise
    std::vector<float> nextReal_, nextImaginary_;
};

}  // namespace qov::measure
