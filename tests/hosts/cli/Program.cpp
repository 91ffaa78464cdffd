#include "tests/hosts/cli/Program.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

namespace {

/// Forks, lets the child run with its output in two files, and waits.
Run launch(const std::function<void()>& child, const std::function<void(pid_t)>& parent = {}) {
    const TemporaryFolder folder;
    const auto out = folder / "out";
    const auto err = folder / "err";
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(out.c_str(), O_CREAT | O_WRONLY, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), O_CREAT | O_WRONLY, 0600), STDERR_FILENO);
        child();
        _exit(127);
    }
    if (parent) parent(pid);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    Run run;
    if (WIFEXITED(status)) run.code = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
    run.out = contents(out);
    run.err = contents(err);
    run.peakKilobytes = usage.ru_maxrss;
    return run;
}

}  // namespace

Run shell(const std::string& command) {
    return launch([&] {
        setenv("K", KELVANE_PROGRAM, 1);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    });
}

Run interrupted(const std::vector<std::string>& arguments, int signal,
                const TemporaryFolder& folder) {
    // Counted before it starts: it may be at work before this process runs on.
    const auto count = folder.files().size();
    return launch(
        [&] {
            std::vector<char*> argv{const_cast<char*>(KELVANE_PROGRAM)};
            for (const auto& argument : arguments)
                argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            execv(KELVANE_PROGRAM, argv.data());
        },
        [&](pid_t pid) {
            // Its temporary file is what shows that it is at work.
            siginfo_t ended{};
            do {
                usleep(500);
                waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOHANG | WNOWAIT);
            } while (ended.si_pid == 0 && folder.files().size() == count);
            kill(pid, signal);
        });
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
