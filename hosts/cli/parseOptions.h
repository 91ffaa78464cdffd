#pragma once

#include <optional>
#include <span>
#include <string>

#include "hosts/cli/Command.h"

namespace CLI {
class App;
}

namespace qov::cli {

/// Declares the option of every parameter, or of those only that hosts see. Its text goes to its
/// place in `texts`, which has one for each parameter and outlives the parsing: see
/// parseSettings().
void declareParameters(CLI::App& app, std::span<std::string> texts, bool onlyInTree);

/// Reads the arguments of one subcommand into what was bound to `app`. Returns the exit code where
/// the command is done already (0 after --help), nothing where it shall run. Throws Failure (2)
/// where the arguments are wrong, with the nearest option for one that does not exist.
std::optional<int> parseOptions(CLI::App& app, const Arguments& arguments);

}  // namespace qov::cli
