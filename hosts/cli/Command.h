#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qov::cli {

/// An error that the user can correct: one line that names the file, option or value and what would
/// be right. main() prints it and ends with the code: 1 for bad input, 2 for wrong usage.
class Failure : public std::runtime_error {
 public:
    explicit Failure(const std::string& line, int exitCode = 1)
        : std::runtime_error(line), exitCode_(exitCode) {}
    int exitCode() const { return exitCode_; }

 private:
    int exitCode_;
};

/// Arguments after the subcommand's name.
using Arguments = std::vector<std::string>;

/// A subcommand of kelvane; run returns the exit code or throws Failure.
struct Command {
    std::string_view name;
    std::string_view summary;
    int (*run)(const Arguments& arguments);
};

/// All subcommands, in the order in which help shows them.
std::span<const Command> commands();

}  // namespace qov::cli
