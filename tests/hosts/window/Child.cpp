#include "tests/hosts/window/Child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <stdexcept>

extern char** environ;

namespace qov::test {

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

bool Child::readMore() {
    char next;
    const bool isRead = read(error_, &next, 1) == 1;
    if (isRead) read_ += next;
    return isRead;
}

int Child::wait() {
    while (readMore()) {  // its end closes the pipe
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Child::errorUntil(const std::string& text) {
    const auto hasLine = [&] {
        const auto at = read_.find(text);
        return at != std::string::npos && read_.find('\n', at) != std::string::npos;
    };
    while (!hasLine() && pid_ >= 0 && readMore()) {
    }
    return read_;
}

bool until(const std::function<bool()>& condition, const std::function<void()>& meanwhile) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (; !condition(); meanwhile())
        if (std::chrono::steady_clock::now() > end) return false;
    return true;
}

}  // namespace qov::test
