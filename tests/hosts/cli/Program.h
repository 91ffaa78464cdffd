#pragma once

#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

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
    /// The presets of its own are in the folder `data`.
    ::Run kelvane(const std::string& arguments) const {
        return shell("cd " + folder.path() + " && XDG_DATA_HOME=$PWD/data $K " + arguments);
    }
    /// Each of these arguments has its exit code and an error with its text.
    using Rows = std::vector<std::tuple<const char*, int, const char*>>;
    void expectErrors(const std::string& command, const Rows& rows) const {
        for (const auto& [arguments, code, text] : rows) {
            const auto run = kelvane(command + arguments);
            EXPECT_EQ(run.code, code) << arguments << run.err;
            EXPECT_THAT(run.err, testing::HasSubstr(text)) << arguments;
        }
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
