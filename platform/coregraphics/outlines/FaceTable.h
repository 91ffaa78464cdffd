#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace platform {

/// A type face as tables, in thousandths of an em, y downward. writeFaces.cpp writes them from the
/// font files when the program is built.
struct FaceTable {
    /// A character or a ligature, by the text that it stands for.
    struct Glyph {
        std::string_view text;
        std::int16_t width;
        std::string_view elements;  ///< M, L, C and Z, which use 1, 1, 3 and 0 points
        std::span<const std::int16_t> points;
    };
    /// What is added to the first glyph's width before the second.
    struct Kerning {
        std::uint8_t first, second;
        std::int16_t by;
    };
    std::int16_t capHeight;
    std::span<const Glyph> glyphs;      ///< ligatures first
    std::span<const Kerning> kernings;  ///< sorted
};

/// The faces of the program.
extern const FaceTable regularFace, condensedBoldFace;

}  // namespace platform
