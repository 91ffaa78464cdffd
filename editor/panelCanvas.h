#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace qov {

/// The panel is designed on a canvas of this size and keeps its aspect; in a window of the same
/// size in points it is drawn 1:1.
constexpr platform::CGSize panelCanvas{680, 440};

}  // namespace qov
