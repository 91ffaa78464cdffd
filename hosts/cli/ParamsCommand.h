#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane params: the parameters as a table or as JSON.
int runParams(const Arguments& arguments);

}  // namespace qov::cli
