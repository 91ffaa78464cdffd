#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane tree: what is below a folder, as XML, list or dump, whole or a page of it. Deletes
/// nothing without --remove-litter. Changes the process's current directory.
int runTree(const Arguments& arguments);

}  // namespace qov::cli
