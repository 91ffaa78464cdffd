#pragma once

#include <memory>

#include "platform/coregraphics/CGContext.h"

struct _cairo;

namespace platform {

/// A context that draws on an existing Cairo target and holds a reference to it. Its user space is
/// that of the target at the time of the call, multiplied by scale.
std::unique_ptr<CGContext> makeCairoContext(_cairo* target, CGFloat scale = 1);

}  // namespace platform
