#pragma once

#include <memory>

#include "platform/coregraphics/CGContext.h"

struct _cairo;

namespace platform {

/// Draws on a Cairo target that somebody else owns (a window's, a PDF's). The context holds a
/// reference; the target's own coordinates of this moment become its user space, scaled by scale.
std::unique_ptr<CGContext> makeCairoContext(_cairo* target, CGFloat scale = 1);

}  // namespace platform
