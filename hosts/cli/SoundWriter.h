#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "hosts/cli/SoundReader.h"

namespace qov::hosts {
class OutputPlace;
}

namespace qov::cli {

using hosts::OutputPlace;

/// A stereo output, written in order and in constant memory. Throws Failure with the output's name
/// where it cannot be written, such as on a full disk.
class SoundWriter {
 public:
    /// What is written.
    struct Shape {
        int container;  ///< as the sound file library numbers them
        int subtype;
        int rate;
        std::optional<std::int64_t> frames;  ///< where it is known beforehand
        bool isRaw = false;                  ///< nothing but samples (subtype float)
    };

    /// A file may be in any format; a stream is WAV or raw. WAV files that grow beyond 4 GiB become
    /// RF64.
    SoundWriter(const OutputPlace& place, const Shape& shape, const Metadata& metadata);
    ~SoundWriter();
    SoundWriter(const SoundWriter&) = delete;
    SoundWriter& operator=(const SoundWriter&) = delete;

    /// Appends frames. For integer subtypes values are rounded to the nearest step and held to full
    /// scale; NaN becomes 0.
    void write(const float* left, const float* right, std::uint32_t frames);
    /// Appends interleaved frames as SoundReader::readFrames gives them.
    void writeFrames(const std::int32_t* samples, std::uint32_t frames);
    void writeFrames(const float* samples, std::uint32_t frames);
    void writeFrames(const double* samples, std::uint32_t frames);

    /// Samples beyond full scale that write() clamped for an integer subtype.
    struct Clipping {
        std::int64_t samples = 0;
        float peak = 0;  ///< the greatest magnitude of them; full scale is 1
    };
    Clipping clipping() const;

    /// Completes the file's header. Nothing may be written after it.
    void close();

 private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qov::cli
