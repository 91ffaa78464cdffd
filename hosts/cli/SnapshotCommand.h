#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane snapshot: the editor, or one of its views, as a PNG.
int runSnapshot(const Arguments& arguments);

}  // namespace qov::cli
