#include "hosts/cli/soundMarkers.h"

#include <cstddef>
#include <cstdint>

#include "hosts/cli/fileBytes.h"

namespace qov::cli {
namespace {

struct Marker {
    std::uint64_t identifier, frame;
    std::string name;
};

std::vector<Marker> markersIn(const NamedChunks& chunks) {
    std::vector<Marker> markers;
    for (const auto& [identifier, bytes] : chunks) {
        if (identifier == "cue ")
            for (std::size_t at = 4; at + 24 <= bytes.size(); at += 24)
                markers.push_back(
                    {numberAt(bytes, at, 4, little), numberAt(bytes, at + 20, 4, little), {}});
        if (identifier == "MARK")
            for (std::size_t at = 2; at + 7 <= bytes.size();) {
                const auto size = numberAt(bytes, at + 6, 1, big);
                markers.push_back({numberAt(bytes, at, 2, big), numberAt(bytes, at + 2, 4, big),
                                   bytes.substr(at + 7, size)});
                at += 7 + size + (size % 2 == 0 ? 1 : 0);
            }
    }
    for (const auto& chunk : chunks) {
        if (!chunk.isList("adtl")) continue;
        for (const auto& [identifier, bytes] : chunksInList(chunk.bytes))
            for (auto& marker : markers)
                if (identifier == "labl" && bytes.size() > 4 &&
                    marker.identifier == numberAt(bytes, 0, 4, little))
                    marker.name = bytes.substr(4).c_str();  // up to the zero
    }
    return markers;
}

}  // namespace

bool isMarkerChunk(const NamedChunk& chunk) {
    return chunk.identifier == "cue " || chunk.identifier == "MARK" || chunk.isList("adtl");
}

NamedChunks markersForWav(const NamedChunks& chunks) {
    const auto markers = markersIn(chunks);
    if (markers.empty()) return {};
    auto cue = bytesOf(markers.size(), 4, little);
    std::string names = "adtl";
    for (const auto& [identifier, frame, name] : markers) {
        const auto number = bytesOf(identifier, 4, little);
        cue += number + bytesOf(frame, 4, little) + "data" + bytesOf(0, 8, little) +
               bytesOf(frame, 4, little);
        names += riffChunk("labl", number + name + '\0');
    }
    return {{"cue ", cue}, {"LIST", names}};
}

NamedChunks markersForAiff(const NamedChunks& chunks) {
    const auto markers = markersIn(chunks);
    if (markers.empty()) return {};
    auto mark = bytesOf(markers.size(), 2, big);
    std::uint64_t number = 0;  // has to be positive
    for (const auto& marker : markers) {
        const auto name = marker.name.substr(0, 255);
        mark += bytesOf(++number, 2, big) + bytesOf(marker.frame, 4, big) +
                bytesOf(name.size(), 1, big) + name;
        if (name.size() % 2 == 0) mark += '\0';
    }
    return {{"MARK", mark}};
}

}  // namespace qov::cli
