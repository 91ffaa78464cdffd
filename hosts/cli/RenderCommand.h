#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane render: a sound file through the effect into another.
int runRender(const Arguments& arguments);

}  // namespace qov::cli
