#pragma once

#include <cstdint>

namespace platform {

/// A four-character code, its first character in the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

inline constexpr std::uint32_t kAudioUnitType_Effect = fourCharacterCode("aufx");

/// Names a component: its kind, which of its maker's it is, and the maker. 0 is a wildcard.
struct AudioComponentDescription {
    std::uint32_t componentType = 0;
    std::uint32_t componentSubType = 0;
    std::uint32_t componentManufacturer = 0;
    std::uint32_t componentFlags = 0;
    std::uint32_t componentFlagsMask = 0;
};

}  // namespace platform
