// Every allocation that a call makes fails once: no exception gets out, and the next call works.
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "hosts/lv2/Ports.h"
#include "hosts/lv2/bodyFunctions.h"
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

/// Calls until nothing fails any more.
void withLittleMemory(const std::function<void()>& call) {
    for (int number = 0;; ++number) {
        allocationsLeft = number;
        call();
        if (std::exchange(allocationsLeft, never) != never) return;
    }
}

TEST(Lv2OutOfMemory, NoExceptionReachesTheHost) {
    const ConsoleLines quiet;
    const auto& lv2 = *kelvane_lv2_plugin();
    LV2_URID_Map map{nullptr, [](LV2_URID_Map_Handle, const char* uri) {
                         return static_cast<LV2_URID>(std::hash<std::string_view>()(uri) | 1);
                     }};
    const LV2_Feature mapFeature{LV2_URID__map, &map};
    const LV2_Feature* const features[] = {&mapFeature, nullptr};
    LV2_Handle plugin = nullptr;
    testing::internal::CaptureStderr();
    withLittleMemory([&] {
        if (plugin) lv2.cleanup(plugin);
        plugin = lv2.instantiate(&lv2, 48000, "", features);
    });
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(plugin);
    std::array<float, 64> sound{};
    float latency = 0;
    for (const auto port :
         {hosts::lv2::inLeft, hosts::lv2::inRight, hosts::lv2::outLeft, hosts::lv2::outRight})
        lv2.connect_port(plugin, port, sound.data());
    lv2.connect_port(plugin, hosts::lv2::latencyPort, &latency);
    withLittleMemory([&] {
        lv2.activate(plugin);
        lv2.run(plugin, sound.size());
    });
    EXPECT_EQ(latency, 2048);
    const auto* state =
        static_cast<const LV2_State_Interface*>(lv2.extension_data(LV2_STATE__interface));
    std::map<std::uint32_t, std::string> kept;
    withLittleMemory([&] {
        state->save(
            plugin,
            [](LV2_State_Handle to, std::uint32_t key, const void* value, std::size_t size,
               std::uint32_t, std::uint32_t) {
                static_cast<decltype(kept)*>(to)->insert_or_assign(
                    key, std::string(static_cast<const char*>(value), size));
                return LV2_STATE_SUCCESS;
            },
            &kept, 0, nullptr);
    });
    EXPECT_EQ(kept.size(), 2U);
    lv2.deactivate(plugin);
    lv2.cleanup(plugin);
}

}  // namespace
}  // namespace qov::test
