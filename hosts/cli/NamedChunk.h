#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qov::cli {

/// A chunk of a sound file that is not of its samples.
struct NamedChunk {
    std::string identifier;  ///< of four letters; or 16 bytes, for one that only W64 knows
    std::string bytes;

    /// Whether it is a list of chunks of this type ("INFO").
    bool isList(std::string_view type) const {
        return identifier == "LIST" && bytes.starts_with(type);
    }
};
/// In the order of the file.
using NamedChunks = std::vector<NamedChunk>;

/// The bytes of a chunk in a WAV file or in a list.
std::string riffChunk(const std::string& identifier, const std::string& bytes);

/// The chunks in a list's bytes, which start with its type; the last one may be cut off.
NamedChunks chunksInList(const std::string& list);

}  // namespace qov::cli
