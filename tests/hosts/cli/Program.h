#pragma once

#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

/// A run of the real program.
struct Run {
    int code = -1;    ///< exit code, or -1 where a signal ended it
    int signal = 0;   ///< that signal
    std::string out;  ///< standard output, where it was not sent elsewhere
    std::string err;
    long peakKilobytes = 0;  ///< resident
};

/// Runs a shell command in which $K is the program; its own standard output and error are caught.
Run shell(const std::string& command);
/// The same, without a shell: kelvane with these arguments, ended by `signal` once it has written.
Run interrupted(const std::vector<std::string>& arguments, int signal,
                const TemporaryFolder& folder);

std::string contents(const std::string& path);
void write(const std::string& path, const std::string& bytes);
