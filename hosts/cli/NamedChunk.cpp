#include "hosts/cli/NamedChunk.h"

#include <bit>
#include <cstddef>

#include "hosts/cli/fileBytes.h"

namespace qov::cli {

std::string riffChunk(const std::string& identifier, const std::string& bytes) {
    return identifier + bytesOf(bytes.size(), 4, std::endian::little) + bytes +
           std::string(bytes.size() % 2, '\0');
}

NamedChunks chunksInList(const std::string& list) {
    NamedChunks chunks;
    for (std::size_t at = 4; at + 8 <= list.size();) {
        const auto size = numberAt(list, at + 4, 4, std::endian::little);
        chunks.push_back({list.substr(at, 4), list.substr(at + 8, size)});
        at += 8 + size + size % 2;
    }
    return chunks;
}

}  // namespace qov::cli
