// What comes out, held against closed forms.

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

struct Settings {
    double volume = 1, width = 0.5, panorama = 0.5;
    bool invert = false, swap = false, recover = false, mono = false;
};

struct Stereo {
    double left, right;
};

// What a constant signal becomes once smoothing and delays have passed.
Stereo settled(Stereo in, const Settings& set) {
    KernelRig rig;
    const auto on = [](bool value) { return value ? 1.0f : 0.0f; };
    rig.kernel.setParameter(kVolume, static_cast<float>(set.volume));
    rig.kernel.setParameter(kStereoWidth, static_cast<float>(set.width));
    rig.kernel.setParameter(kPanorama, static_cast<float>(set.panorama));
    rig.kernel.setParameter(kInvertChannel, on(set.invert));
    rig.kernel.setParameter(kSwapChannels, on(set.swap));
    rig.kernel.setParameter(kRecoverMono, on(set.recover));
    rig.kernel.setParameter(kTestMono, on(set.mono));
    Samples left, right;
    for (int cycle = 0; cycle < 40; ++cycle) {
        left.assign(128, static_cast<float>(in.left));
        right.assign(128, static_cast<float>(in.right));
        rig.render(left, right);
    }
    return {left.back(), right.back()};
}

TEST(Sound, SettingsGiveTheGainsThatAreKnownForThem) {
    struct Case {
        const char* what;
        Settings set;
        Stereo expected;  // from left 0.5, right -0.25
    };
    for (const Case& one : std::vector<Case>{
             {"neutral", {}, {0.5, -0.25}},
             {"volume", {.volume = 0.5}, {0.25, -0.125}},
             {"narrowest is the right channel twice", {.width = 0}, {-0.25, -0.25}},
             {"half narrow moves only the left", {.width = 0.25}, {0.125, -0.25}},
             {"widest", {.width = 1}, {(3 * 0.5 + 0.25) / 2, (-3 * 0.25 - 0.5) / 2}},
             {"full left", {.panorama = 0}, {0.6 * 0.25, 0}},
             {"full right", {.panorama = 1}, {0, 0.6 * 0.25}},
             {"full right in mono is half of it", {.panorama = 1, .mono = true}, {0.075, 0.075}},
             {"inverted", {.invert = true}, {-0.5, -0.25}},
             {"swapped after the inversion", {.invert = true, .swap = true}, {-0.25, -0.5}},
             {"mono", {.mono = true}, {0.125, 0.125}},
             // (L + R) / 2 and (3 R - L) / 2, then a width of 1
             {"recovered", {.width = 1, .recover = true}, {0.5, -1}},
         }) {
        const Stereo out = settled({0.5, -0.25}, one.set);
        EXPECT_NEAR(out.left, one.expected.left, 1e-6) << one.what;
        EXPECT_NEAR(out.right, one.expected.right, 1e-6) << one.what;
    }
}

// A new delay length that starts with a segment repeats what the output had right before it; that
// is heard again a ring later. Bypass, on and off again, makes the line wrap there.
TEST(Sound, ANewDelayLengthRepeatsTheOutputBeforeItsSegment) {
    struct Case {
        const char* where;
        int bypassed, processed;  // frames at which bypass goes on and off
    };
    for (const auto& one : {Case{"amid a cycle", 3333, 3333},
                            {"at the start of a cycle", 3000, 3000},
                            {"behind bypassed frames", 3250, 3299}}) {
        KernelRig rig;
        rig.kernel.setParameter(kStereoWidth, 0.5f);
        rig.kernel.setParameter(kPanorama, 0.5f);
        Samples heard;
        for (int begin = 0; begin < 6000; begin += 500) {
            Samples left(500), right(500);
            for (int i = 0; i < 500; ++i) left[i] = static_cast<float>(begin + i + 1);
            std::vector<platform::AURenderEvent> events;
            for (const auto& event : {parameterEvent(one.bypassed, kBypass, 1),
                                      parameterEvent(one.processed, kPhaseShift, 0.5f),
                                      parameterEvent(one.processed, kBypass, 0)})
                if (const auto time = event.head.eventSampleTime;
                    time >= begin && time < begin + 500)
                    events.push_back(event);
            rig.render(left, right, events);
            heard.insert(heard.end(), left.begin(), left.end());
        }
        EXPECT_NE(heard[one.processed - 1], 0.0f);
        EXPECT_EQ(heard[one.processed + 2048], heard[one.processed - 1]) << one.where;
    }
}

TEST(Sound, SmoothingTakesSixteenCyclesInEqualStepsAndLandsOnTheTarget) {
    KernelRig rig;
    auto& kernel = rig.kernel;
    kernel.setParameter(kVolume, 0.25f);
    Samples block(1);
    for (int cycle = 1; cycle <= 17; ++cycle) {
        rig.render(block, block);
        EXPECT_NEAR(kernel.volumeInterpolator.currentValue, 1 - 0.75 * std::min(cycle, 16) / 16,
                    1e-6);
    }
    EXPECT_EQ(kernel.volumeInterpolator.currentValue, 0.25f);
    EXPECT_EQ(kernel.volumeInterpolator.increase, 0.0f);
}

TEST(Sound, InterpolatorsCountTheirDelayDownAndReportTheirArrival) {
    Interpolator ramp;
    EXPECT_EQ(static_cast<void*>(&ramp), &ramp.event) << "the event is the first field";
    int arrivals = 0;
    ramp.callee = &arrivals;
    ramp.event = [](void* callee, Interpolator* self, std::int32_t zero) {
        *static_cast<int*>(callee) += 1 + zero;
        self->currentValue = 5;  // read again after the call
    };
    for (const float step : {-1.0f, 1.0f}) {
        ramp.rest(0);
        ramp.delay = 2;
        ramp.setTarget(16 * step);
        for (const float expected : {0.0f, 0.0f, step, 2 * step}) EXPECT_EQ(ramp.tick(), expected);
        for (int i = 3; i < 16; ++i) ramp.tick();
        EXPECT_EQ(ramp.tick(), 5.0f) << "in the sixteenth step";
        ramp.tick();
    }
    EXPECT_EQ(arrivals, 2);
    ramp.rest(0);
    EXPECT_EQ(ramp.time, 512);
    ramp.setTarget(9e-7f);
    EXPECT_EQ(ramp.currentValue, 9e-7f) << "close enough to jump";
    ramp.rest(0);
    ramp.setTarget(1e-6f);
    EXPECT_EQ(ramp.currentValue, 0.0f) << "just far enough for a ramp";
}

TEST(Sound, ValuesOutOfRangeHoldWidthAtItsEndAndPanoramaBeforeIt) {
    for (const float side : {-1.0f, 1.0f}) {
        KernelRig rig;
        for (const auto address : {kStereoWidth, kPanorama})
            rig.kernel.setParameter(address, 0.5f + 0.6f * side);
        rig.settle();
        EXPECT_EQ(rig.kernel.stereo.fAdjust, side);
        EXPECT_NEAR(rig.kernel.panpot.fPan, side * 1.2f * 13 / 16, 1e-6f) << "the last inside";
    }
}

TEST(Sound, SmoothedPanoramaFollowsItsRampFrameByFrame) {
    for (const float side : {-1.0f, 1.0f}) {
        Panpot smoothed;
        smoothed.lSmoothed = 1;
        smoothed.interp = {side, 0, side / 4, 16, 1};
        Samples near(6, 1), far(6, 0.5f);
        smoothed.process((side < 0 ? near : far).data(), (side < 0 ? far : near).data(), 6);
        EXPECT_EQ(near[0], 1.0f) << "waiting";
        EXPECT_FLOAT_EQ(near[2], 0.8f * (1 + 0.5f * 0.5f));
        EXPECT_FLOAT_EQ(near[4], 0.6f * (1 + 0.5f));
        EXPECT_EQ(far[5], 0.0f);
    }
}

}  // namespace
