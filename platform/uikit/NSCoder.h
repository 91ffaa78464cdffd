#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// The archived form of an object in an interface file.
struct NSCoder {
    CGRect frame;
};

}  // namespace platform
