#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane curves: the easing curves as a picture, or one of them as numbers.
int runCurves(const Arguments& arguments);

}  // namespace qov::cli
