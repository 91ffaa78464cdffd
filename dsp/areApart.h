#pragma once

#include <cstdint>

namespace qov {

/// Whether two blocks of so many frames share no memory. At least one frame.
inline bool areApart(const float* one, const float* other, std::uint32_t frames) {
    const auto a = reinterpret_cast<std::uintptr_t>(one);
    const auto b = reinterpret_cast<std::uintptr_t>(other);
    const std::uintptr_t bytes = sizeof(float) * std::uintptr_t{frames};
    // What is less apart, to either side, is 0 to 2 bytes - 2 here; one comparison finds it.
    return a - b + (bytes - 1) > 2 * bytes - 2;
}

}  // namespace qov
