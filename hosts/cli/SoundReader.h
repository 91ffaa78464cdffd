#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/cli/Metadata.h"

namespace qov::cli {

/// A stereo input of any length, read in order and in constant memory: any file that libsndfile
/// reads, or a pipe with WAV, AIFF, AU, Ogg, MP3 or raw floats. Every fault of the input is thrown
/// as Failure, with its name.
class SoundReader {
 public:
    /// How the input is taken.
    struct Options {
        std::optional<int> rawRate;  ///< standard input is raw stereo float at this rate
        bool upmix = false;          ///< mono is taken, as the same on both sides
        bool salvage = false;        ///< a file that was never finished or was cut off is taken
    };

    /// path: "-" is standard input.
    SoundReader(const std::string& path, Options options);
    ~SoundReader();
    SoundReader(const SoundReader&) = delete;
    SoundReader& operator=(const SoundReader&) = delete;

    int rate() const;
    /// Container and subtype, as the sound file library numbers them.
    int format() const;
    /// Whether the input, as far as it was read, was not finished or cut off.
    bool isDamaged() const;
    std::int64_t framesRead() const;
    /// Empty for streams whose header does not give it.
    std::optional<std::int64_t> frames() const;
    Metadata metadata() const;
    /// Whether the input is a whole stereo file of this container and subtype.
    bool isFileOf(int format) const;
    /// Gives the bytes of the file, in pieces; the reading of samples ends.
    void copyBytes(const std::function<void(std::string_view)>& write);

    /// Reads up to `frames` frames and returns how many there were; fewer only at the end. Integers
    /// become -1..1 by a power of two, so that up to 24 bits stay exact.
    std::uint32_t read(float* left, float* right, std::uint32_t frames);
    /// The same, interleaved and as the file has them; integers stand at the top of their 32 bits.
    std::uint32_t readFrames(std::int32_t* samples, std::uint32_t frames);
    std::uint32_t readFrames(float* samples, std::uint32_t frames);
    std::uint32_t readFrames(double* samples, std::uint32_t frames);

 private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qov::cli
