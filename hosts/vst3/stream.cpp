#include "hosts/vst3/stream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hosts/instance/Instance.h"

namespace qov::hosts::vst3 {

std::optional<std::string> readAll(v3_bstream** stream) {
    std::string bytes;
    char piece[4096];
    while (bytes.size() <= Instance::largestState) {
        std::int32_t count = 0;
        const auto result = v3_cpp_obj(stream)->read(stream, piece, sizeof piece, &count);
        if (count <= 0) return bytes;
        bytes.append(piece, std::min<std::size_t>(static_cast<std::size_t>(count), sizeof piece));
        if (result != V3_OK) return bytes;  // some call the end of the stream an error
    }
    return std::nullopt;
}

bool writeAll(v3_bstream** stream, std::string_view bytes) {
    std::string left(bytes);  // the interface asks for bytes that may be changed
    for (std::size_t done = 0; done < left.size();) {
        std::int32_t count = 0;
        const auto size = static_cast<std::int32_t>(left.size() - done);
        const auto result = v3_cpp_obj(stream)->write(stream, left.data() + done, size, &count);
        if (result != V3_OK || count <= 0 || count > size) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace qov::hosts::vst3
