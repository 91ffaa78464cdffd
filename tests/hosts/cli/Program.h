#pragma once

#include <string>

#include <gtest/gtest.h>

#include "hosts/cli/Command.h"
#include "tests/support/TemporaryFolder.h"

/// A run of the real program.
struct Run {
    int code = -1;    ///< exit code, or -1 where a signal ended it
    std::string out;  ///< standard output, where it was not sent elsewhere
    std::string err;
    long peakKilobytes = 0;  ///< resident, of any program so far
};

/// Runs a shell command in which $K is the program; its own standard output and error are caught.
Run shell(const std::string& command);

/// With a folder of its own, in which the program runs.
class ProgramTest : public testing::Test {
 protected:
    ::Run kelvane(const std::string& arguments) const {
        return shell("cd " + folder.path() + " && $K " + arguments);
    }

    const TemporaryFolder folder;
};

/// What a call fails with, which has to be this exit code; "no failure" where it goes well.
template <class Call>
std::string failureOf(int exitCode, Call call) {
    try {
        call();
        return "no failure";
    } catch (const qov::cli::Failure& failure) {
        EXPECT_EQ(failure.exitCode(), exitCode) << failure.what();
        return failure.what();
    }
}

std::string contents(const std::string& path);
/// Of each byte, as many of the lower bits as given.
std::string bigEndian(std::size_t value, int bytes = 4, int bits = 8);
void write(const std::string& path, const std::string& bytes);
