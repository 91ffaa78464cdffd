#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "hosts/cli/StereoField.h"

namespace qov::cli {

/// One half of the picture.
struct FieldPanel {
    std::string title;                                ///< large, above the plot
    std::string subtitle;                             ///< small, beside it
    std::array<std::vector<std::string>, 2> figures;  ///< lines in the plot's lower corners
    const StereoField* field = nullptr;
    int rate = 0;  ///< frames per second
};

/// The picture's file format.
enum class PictureKind { png, svg };

/// Cells of the plot that a panel wants.
inline constexpr std::size_t fieldSide = 930;
/// Slices of time that a panel wants.
inline constexpr std::size_t fieldSlices = 372;

/// The file of a picture of panels side by side: the plot with mid up and left to the upper left,
/// under it width, correlation and balance over time. Throws Failure without memory for it.
std::vector<std::byte> drawField(const std::vector<FieldPanel>& panels, PictureKind kind);

}  // namespace qov::cli
