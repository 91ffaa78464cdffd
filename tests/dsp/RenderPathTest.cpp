// The render path neither allocates, nor locks, nor calls the system. The test program counts what
// goes through the allocator and the mutexes, and renders once where any system call is fatal.

#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/dsp/KernelRig.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QOV_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QOV_SANITIZED 1
#endif
#endif

namespace {
thread_local bool counting = false;
thread_local int counted = 0;
[[maybe_unused]] void count() {
    if (counting) ++counted;
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
    return count(), __libc_malloc(size);
}
void* calloc(std::size_t number, std::size_t size) {
    return count(), __libc_calloc(number, size);
}
void* realloc(void* block, std::size_t size) {
    return count(), __libc_realloc(block, size);
}
void* memalign(std::size_t align, std::size_t size) {
    return count(), __libc_memalign(align, size);
}
void* aligned_alloc(std::size_t align, std::size_t size) {
    return memalign(align, size);
}
void free(void* block) {
    count();
    __libc_free(block);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    count();
    static const auto original =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return original(mutex);
}
}
#endif

namespace {

using namespace qov;
using namespace qov::test;

// Cycles of many lengths with events in them, wraps of line and ring, lengths that grow and shrink.
void renderALot(KernelRig& rig, Samples& left, Samples& right,
                std::vector<platform::AURenderEvent>& events) {
    for (int cycle = 0; cycle < 400; ++cycle) {
        const auto frames = static_cast<std::uint32_t>(1 + cycle * 37 % 1024);
        for (std::size_t i = 0; i < events.size(); ++i)
            events[i].head.eventSampleTime = rig.now + static_cast<std::int64_t>(i * frames / 8);
        events[0].parameter.value = static_cast<float>(cycle % 4) / 3;
        rig.render(left.data(), right.data(), left.data(), right.data(), frames, linked(events));
    }
}

std::vector<platform::AURenderEvent> allKindsOfEvents() {
    return {parameterEvent(0, kPhaseShift, 1), parameterEvent(0, kStereoWidth, 0.9f),
            parameterEvent(0, kBypass, 1),     parameterEvent(0, kBypass, 0),
            midiEvent(0, 0xB0, 7, 100),        midiEvent(0, 0xB0, 10, 20),
            parameterEvent(0, kTestMono, 1)};
}

class RenderPath : public testing::TestWithParam<int> {
 protected:
    void SetUp() override {
#ifdef QOV_SANITIZED
        GTEST_SKIP() << "the sanitizer has the allocator to itself";
#endif
    }
};

TEST_P(RenderPath, NeitherAllocatesNorLocks) {
    counting = true;
    delete new std::string(100, 'x');
    EXPECT_GE(std::exchange(counted, 0), 2) << "the counter counts";
    counting = false;

    KernelRig rig(GetParam());
    Samples left(1024, 0.5f), right(1024, 0.25f);
    auto events = allKindsOfEvents();
    counting = true;
    renderALot(rig, left, right, events);
    counting = false;
    EXPECT_EQ(std::exchange(counted, 0), 0);
    EXPECT_TRUE(rig.kernel.isNewBufferAvailable) << "the ring went round";
}

TEST_P(RenderPath, CallsNoSystem) {
    KernelRig rig(GetParam());
    Samples left(1024, 0.5f), right(1024, 0.25f);
    auto events = allKindsOfEvents();
    const auto statusOf = [&](bool withACall) {
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
            renderALot(rig, left, right, events);
            if (withACall) getppid();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return status;
    };
    const int status = statusOf(false);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no filter to be had here";
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(WIFSIGNALED(statusOf(true))) << "the filter filters";
}

INSTANTIATE_TEST_SUITE_P(Rates, RenderPath, testing::Values(44100, 96000, 192000, 384000));

}  // namespace
