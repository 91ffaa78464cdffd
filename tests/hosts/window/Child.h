#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qov::test {

/// A program that a test has started; it ends with the test, by its process number.
class Child {
 public:
    /// Standard error goes to a pipe that is read by errorText(); `passed` (or -1) stays open as
    /// descriptor 3.
    Child(const std::vector<std::string>& arguments, int passed = -1);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void signal(int number) const;
    /// Waits for its end, at most a minute. The exit code, or 128 + the signal that ended it.
    int wait();
    /// Reads standard error up to and with the first line that holds the text (or the end).
    std::string errorUntil(const std::string& text);
    pid_t pid() const { return pid_; }

 private:
    pid_t pid_ = -1;
    int error_ = -1;
    std::string read_;
};

/// Runs a program to its end; its exit code.
int run(const std::vector<std::string>& arguments);

}  // namespace qov::test
