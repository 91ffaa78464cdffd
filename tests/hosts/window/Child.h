#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <functional>
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

    pid_t pid() const { return pid_; }
    void signal(int number) const { kill(pid_, number); }
    /// Waits for its end. The exit code, or 128 + the signal that ended it.
    int wait();
    /// What it wrote up to the first line that holds the text, and that line; all when it has
    /// ended.
    std::string errorUntil(const std::string& text);

 private:
    bool readMore();

    pid_t pid_ = -1;
    int error_ = -1;
    std::string read_;
};

/// Does `meanwhile` over and over until the condition holds; false after half a minute.
bool until(
    const std::function<bool()>& condition,
    const std::function<void()>& meanwhile = [] { usleep(5000); });

}  // namespace qov::test
