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

/// Reads the arguments of one subcommand into what was bound to `app`. Returns the exit code if
/// the command ends here (0 after --help), nothing if it goes on. Throws Failure (2) for wrong
/// arguments, with the nearest option for an unknown one.
std::optional<int> parseOptions(CLI::App& app, const Arguments& arguments);

}  // namespace qov::cli
