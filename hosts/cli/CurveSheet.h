#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace platform {
class CGContext;
}

namespace qov::cli {

/// A sheet of all easing curves, a block a family. Every curve runs from 0 to 1 on one scale; the
/// column of dots beside it is the value at equal steps of time, as an eye would see the movement.
platform::CGSize curveSheetSize();
/// Draws it from the origin on.
void drawCurveSheet(platform::CGContext& context);

}  // namespace qov::cli
