#include "tests/hosts/window/Child.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

extern char** environ;

namespace qov::test {
namespace {

constexpr int kLongestWait = 60'000;  // milliseconds

/// The next bytes, or none at the end.
std::string readSome(int descriptor) {
    pollfd one{descriptor, POLLIN, 0};
    if (poll(&one, 1, kLongestWait) <= 0)
        throw std::runtime_error("a child writes nothing for a minute");
    char buffer[512];
    const auto count = read(descriptor, buffer, sizeof buffer);
    return {buffer, static_cast<std::size_t>(count > 0 ? count : 0)};
}

}  // namespace

Child::Child(const std::vector<std::string>& arguments, int passed) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    error_ = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 2);
    if (passed >= 0) posix_spawn_file_actions_adddup2(&actions, passed, 3);
    // Should the test itself be killed, its children end, too.
    static char setpriv[] = "setpriv", option[] = "--pdeathsig", term[] = "TERM";
    std::vector<char*> words{setpriv, option, term};
    for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const int failed = posix_spawnp(&pid_, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failed) throw std::runtime_error("cannot start " + arguments[0]);
}

Child::~Child() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(error_);
}

void Child::signal(int number) const {
    kill(pid_, number);
}

int Child::wait() {
    // Its end closes the pipe.
    for (std::string more; !(more = readSome(error_)).empty();) read_ += more;
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Child::errorUntil(const std::string& text) {
    while (true) {
        const auto at = read_.find(text);
        if (at != std::string::npos && read_.find('\n', at) != std::string::npos) return read_;
        if (pid_ < 0) return read_;
        const auto more = readSome(error_);
        if (more.empty()) return read_;
        read_ += more;
    }
}

int run(const std::vector<std::string>& arguments) {
    return Child(arguments).wait();
}

}  // namespace qov::test
