#pragma once

// For tests of code that an audio thread runs: counts what goes through the allocator and the
// mutexes of this program, and runs code where any system call is fatal. Include it in one source
// of a test program only: it takes the C library's names over.

#include <array>
#include <cstddef>
#include <set>
#include <string>

#include <dlfcn.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/sanitized.h"

namespace {
thread_local bool counting = false;
thread_local int counted = 0;
thread_local std::array<void*, 256> callers{};  // of the last ones
[[maybe_unused]] void count(void* caller) {
    if (counting) callers[static_cast<std::size_t>(counted++) % callers.size()] = caller;
}
}  // namespace

#ifndef QOV_SANITIZED
// The C library's own names, under which operator new and calloc arrive as well.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) {
    return count(__builtin_return_address(0)), __libc_malloc(size);
}
void* calloc(std::size_t number, std::size_t size) {
    return count(__builtin_return_address(0)), __libc_calloc(number, size);
}
void* realloc(void* block, std::size_t size) {
    return count(__builtin_return_address(0)), __libc_realloc(block, size);
}
void* memalign(std::size_t align, std::size_t size) {
    return count(__builtin_return_address(0)), __libc_memalign(align, size);
}
void* aligned_alloc(std::size_t align, std::size_t size) {
    return count(__builtin_return_address(0)), __libc_memalign(align, size);
}
void free(void* block) {
    count(__builtin_return_address(0));
    __libc_free(block);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    count(__builtin_return_address(0));
    static const auto original =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return original(mutex);
}
}
#endif

namespace qov::test {

/// Allocations, releases and locks while `work` runs on this thread.
template <class Work>
int countedCalls(Work&& work) {
    callers.fill(nullptr);
    counted = 0;
    counting = true;
    work();
    counting = false;
    return counted;
}

/// The object files (as they were opened) that made the calls counted last, of the last 256.
inline std::set<std::string> countedObjects() {
    std::set<std::string> objects;
    Dl_info info{};
    for (void* caller : callers)
        if (dladdr(caller, &info)) objects.insert(info.dli_fname);
    return objects;
}

/// Runs `work` in a child process that any system call but its end kills. 0: it made none.
/// 77: this machine filters no calls. Else the child's status as waitpid gives it.
template <class Work>
int statusWithoutSystem(Work&& work) {
    const pid_t child = fork();
    if (child == 0) {
        sock_filter filter[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        };
        const sock_fprog program{4, filter};
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) _exit(77);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : status;
}

}  // namespace qov::test
