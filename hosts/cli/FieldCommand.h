#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane field: a picture of the stereo field of one or two files.
int runField(const Arguments& arguments);

}  // namespace qov::cli
