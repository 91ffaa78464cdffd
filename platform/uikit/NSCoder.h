#pragma once

#include "platform/coregraphics/CGGeometry.h"

namespace platform {

/// What an interface file keeps of an object that is made from it.
struct NSCoder {
    CGRect frame;
};

}  // namespace platform
