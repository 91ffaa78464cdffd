#pragma once

#include <array>

#include "platform/coregraphics/CGGeometry.h"

namespace qov {

/// Where stereo width, panorama and phase shift (their addresses) show their values, in units of
/// the panel's canvas.
constexpr std::array<platform::CGRect, 3> valueBoxes{
    {{248.5, 361.5, 183, 36}, {248.5, 45.5, 183, 36}, {510.5, 204.5, 130, 34}}};

}  // namespace qov
