#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qov::cli {

/// The chunks of a sound file by its header, and the bytes that are in fact there.
struct SoundChunks {
    /// A part of the header with its identifier.
    struct Chunk {
        std::string identifier;
        std::int64_t start;  ///< offset in the file
        std::int64_t size;   ///< bytes
    };

    std::vector<Chunk> others;   ///< all but that of the samples, as far as they can be followed
    std::int64_t start = 0;      ///< offset of the first sample
    std::int64_t size = 0;       ///< bytes of samples by the header
    std::int64_t available = 0;  ///< bytes from `start` to the end of the file
    /// The header gives no samples, or fewer than there are, and bytes follow that are no chunks:
    /// the recording was never finished.
    bool isUnfinished = false;

    /// Whether `size` means an unknown length, as programs write it whose output cannot seek.
    bool isOpen() const;
    /// Bytes of samples that the header promises and the file lacks.
    std::int64_t missing() const;
};

/// Whether a size of samples in bytes, about 2 or about 4 GiB, stands for an unknown one.
bool isOpenSize(std::int64_t bytes);

/// Reads the chunks of a WAV, RF64, W64, AIFF or CAF file, or the header of an AU file. Empty for
/// others, for one whose samples are not found, and where the descriptor cannot seek. The
/// descriptor's position does not change.
std::optional<SoundChunks> readSoundChunks(int descriptor);

/// Whether a file of Ogg pages does not end with a whole page that ends its stream. False for other
/// files and where the descriptor cannot seek. The descriptor's position does not change.
bool lacksOggEnd(int descriptor);

}  // namespace qov::cli
