// Every allocation that a call makes fails once: no exception gets out, and the next call works.

#include <cstdlib>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include "hosts/lv2/bodyFunctions.h"
#include "tests/hosts/lv2/Lv2Host.h"
#include "tests/support/ConsoleLines.h"

namespace {
constexpr int never = -1;
thread_local int allocationsLeft = never;
}  // namespace

void* operator new(std::size_t size) {
    if (allocationsLeft != never && allocationsLeft-- == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace qov::test {
namespace {

/// Repeats the call until no allocation in it fails any more.
template <class Call>
void withLittleMemory(const Call& call) {
    for (int number = 0;; ++number) {
        allocationsLeft = number;
        call();
        if (std::exchange(allocationsLeft, never) != never) return;
    }
}

TEST(Lv2OutOfMemory, NoExceptionReachesTheHost) {
    const ConsoleLines quiet;
    const auto& lv2 = *kelvane_lv2_plugin();
    Lv2Host host(lv2, {});
    const LV2_Feature map{LV2_URID__map, &host.urids.feature};
    const LV2_Feature* const features[] = {&map, nullptr};
    LV2_Handle plugin = nullptr;
    testing::internal::CaptureStderr();
    withLittleMemory([&] {
        if (plugin) lv2.cleanup(plugin);
        plugin = lv2.instantiate(&lv2, 48000, "", features);
    });
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(plugin);
    lv2.cleanup(plugin);
    float sound[64] = {};
    host.connectAudio({sound, sound}, {sound, sound});
    withLittleMemory([&] {
        host.activate();
        host.run(64);
    });
    EXPECT_EQ(host.latency, 2048);
    Lv2Host::State kept;
    withLittleMemory([&] { kept = host.save(); });
    EXPECT_EQ(kept.size(), 2U);
    withLittleMemory([&] { host.restore(kept); });
    host.deactivate();
}

}  // namespace
}  // namespace qov::test
