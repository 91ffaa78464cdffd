#include "tests/hosts/cli/Program.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

Run shell(const std::string& command) {
    const TemporaryFolder folder;
    const auto out = folder / "out";
    const auto err = folder / "err";
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(out.c_str(), O_CREAT | O_WRONLY, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), O_CREAT | O_WRONLY, 0600), STDERR_FILENO);
        setenv("K", KELVANE_PROGRAM, 1);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(out), contents(err),
            usage.ru_maxrss};
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
