#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace qov::bench {

/// What the work takes, in seconds.
inline double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// What `measure` finds in a process of its own, which has loaded nothing yet.
inline double inAChild(const std::function<double()>& measure) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const double found = measure();
        _exit(write(ends[1], &found, sizeof found) == sizeof found ? 0 : 1);
    }
    close(ends[1]);
    double found = 0;
    const bool isWhole = read(ends[0], &found, sizeof found) == sizeof found;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!isWhole) {
        std::fprintf(stderr, "a plug-in that is measured has failed\n");
        std::abort();
    }
    return found;
}

}  // namespace qov::bench
