#pragma once

#include <stdexcept>
#include <string>

namespace qov::hosts {

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

}  // namespace qov::hosts
