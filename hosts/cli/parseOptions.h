#pragma once

#include <optional>

#include "hosts/cli/Command.h"

namespace CLI {
class App;
}

namespace qov::cli {

/// Reads the arguments of one subcommand into what was bound to `app`. Returns the exit code where
/// the command is done already (0 after --help), nothing where it shall run. Throws Failure (2)
/// where the arguments are wrong, with the nearest option for one that does not exist.
std::optional<int> parseOptions(CLI::App& app, const Arguments& arguments);

}  // namespace qov::cli
