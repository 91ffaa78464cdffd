// The render path neither allocates, nor locks, nor calls the system, and outlives a lack of
// memory.

#include <numeric>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/dsp/KernelRig.h"
#include "tests/dsp/realTimeGuard.h"

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
    EXPECT_GE(countedCalls([] { delete new std::string(100, 'x'); }), 2) << "the counter counts";

    KernelRig rig(GetParam());
    Samples left(1024, 0.5f), right(1024, 0.25f);
    auto events = allKindsOfEvents();
    EXPECT_EQ(countedCalls([&] { renderALot(rig, left, right, events); }), 0);
    EXPECT_TRUE(rig.kernel.isNewBufferAvailable) << "the ring went round";
}

TEST_P(RenderPath, CallsNoSystem) {
    KernelRig rig(GetParam());
    Samples left(1024, 0.5f), right(1024, 0.25f);
    auto events = allKindsOfEvents();
    const int status = statusWithoutSystem([&] { renderALot(rig, left, right, events); });
    if (status == 77) GTEST_SKIP() << "no filter to be had here";
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(WIFSIGNALED(statusWithoutSystem([] { getppid(); }))) << "the filter filters";
}

INSTANTIATE_TEST_SUITE_P(Rates, RenderPath, testing::Values(44100, 96000, 192000, 384000));

// A delay that no memory is found for, asked for and come into force in mid-cycle, leaves the line
// empty and the signal undelayed, and nothing worse; so does a snapshot that is not there.
TEST(Kernel, OutlivesADelayLengthBeyondAllMemory) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "the sanitizer has the memory to itself";
#endif
    KernelRig rig;
    for (const auto address : {kStereoWidth, kPanorama}) rig.kernel.setParameter(address, 0.5f);
    rig.kernel.setParameter(kPhaseShift, 1);
    Samples left(100, 1), right(100, 1);
    rig.render(left, right);
    rig.kernel.setParameter(kPhaseShift, INFINITY);
    rig.kernel.buffer.release();
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit tight{rlim_t{4} << 30, before.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    Samples input(4000), other(4000), output(4000, -9);
    std::iota(input.begin(), input.end(), 1.0f);
    rig.render(input.data(), input.data(), output.data(), other.data(), 3000, nullptr);
    setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(rig.kernel.latency.data, nullptr);
    // The line was round after 341 frames of this cycle; the ring is late by 100 frames less.
    EXPECT_EQ(Samples(output.begin() + 2388, output.begin() + 2390), (Samples{0, 342}));
    EXPECT_EQ(output[3000], -9.0f);
    rig.kernel.reset();
    rig.render(left, right);
}

}  // namespace
