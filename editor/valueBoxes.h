#pragma once

#include <algorithm>
#include <array>

#include "audiounit/parameters.h"
#include "platform/coregraphics/CGGeometry.h"

namespace qov {

/// Where the continuous parameters, the first of the addresses, show their values, in units of the
/// panel's canvas.
constexpr std::array<platform::CGRect, 3> valueBoxes{
    {{248.5, 361.5, 183, 36}, {248.5, 45.5, 183, 36}, {510.5, 204.5, 130, 34}}};
static_assert(std::all_of(hostParameters.begin(), hostParameters.end(),
                          [](const Parameter& each) {
                              return each.isSwitch() == (each.address >= valueBoxes.size());
                          }),
              "each continuous parameter has a box at the index of its address");

}  // namespace qov
