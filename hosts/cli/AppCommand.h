#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane app: the effect with its editor in a window, on JACK.
int runApp(const Arguments& arguments);

}  // namespace qov::cli
