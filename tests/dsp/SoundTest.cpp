// What comes out, held against closed forms.

#include <algorithm>
#include <numeric>

#include <gtest/gtest.h>

#include "tests/dsp/KernelRig.h"

namespace {

using namespace qov;
using namespace qov::test;

// A constant signal once smoothing and delays have passed.
TEST(Sound, SettingsGiveTheGainsThatAreKnownForThem) {
    struct Case {
        const char* what;
        std::vector<std::pair<std::uint64_t, float>> set;
        double left, right;  // from left 0.5, right -0.25
    };
    for (const auto& [what, set, expectedLeft, expectedRight] :
         {Case{"neutral", {}, 0.5, -0.25}, Case{"volume", {{kVolume, 0.5f}}, 0.25, -0.125},
          Case{"narrowest is the right channel twice", {{kStereoWidth, 0}}, -0.25, -0.25},
          Case{"half narrow moves only the left", {{kStereoWidth, 0.25f}}, 0.125, -0.25},
          Case{"widest", {{kStereoWidth, 1}}, (3 * 0.5 + 0.25) / 2, (-3 * 0.25 - 0.5) / 2},
          Case{"full left", {{kPanorama, 0}}, 0.6 * 0.25, 0},
          Case{"full right", {{kPanorama, 1}}, 0, 0.6 * 0.25},
          Case{"full right in mono", {{kPanorama, 1}, {kTestMono, 1}}, 0.075, 0.075},
          Case{"swapped after inversion", {{kInvertChannel, 1}, {kSwapChannels, 1}}, -0.25, -0.5},
          Case{"mono", {{kTestMono, 1}}, 0.125, 0.125},
          // (L + R) / 2 and (3 R - L) / 2, then a width of 1
          Case{"recovered", {{kStereoWidth, 1}, {kRecoverMono, 1}}, 0.5, -1}}) {
        KernelRig rig;
        for (const auto address : {kStereoWidth, kPanorama}) rig.kernel.setParameter(address, 0.5f);
        for (const auto& [address, value] : set) rig.kernel.setParameter(address, value);
        Samples left, right;
        for (int cycle = 0; cycle < 40; ++cycle) {
            left.assign(128, 0.5f);
            right.assign(128, -0.25f);
            rig.render(left, right);
        }
        EXPECT_NEAR(left.back(), expectedLeft, 1e-6) << what;
        EXPECT_NEAR(right.back(), expectedRight, 1e-6) << what;
    }
}

// A new delay length that starts with a segment repeats what the output had right before it; that
// is heard again a ring later. Bypass, on and off again, makes the line wrap there.
TEST(Sound, ANewDelayLengthRepeatsTheOutputBeforeItsSegment) {
    for (const auto& [bypassed, processed] : {std::pair{3333, 3333}, {3000, 3000}, {3250, 3299}}) {
        KernelRig rig;
        rig.kernel.setParameter(kStereoWidth, 0.5f);
        rig.kernel.setParameter(kPanorama, 0.5f);
        Samples heard;
        for (int begin = 0; begin < 6000; begin += 500) {
            Samples left(500), right(500);
            std::iota(left.begin(), left.end(), static_cast<float>(begin + 1));
            std::vector<platform::AURenderEvent> events;
            for (const auto& event : {parameterEvent(bypassed, kBypass, 1),
                                      parameterEvent(processed, kPhaseShift, 0.5f),
                                      parameterEvent(processed, kBypass, 0)})
                if (event.head.eventSampleTime / 500 * 500 == begin) events.push_back(event);
            rig.render(left, right, events);
            heard.insert(heard.end(), left.begin(), left.end());
        }
        EXPECT_NE(heard[processed - 1], 0.0f);
        EXPECT_EQ(heard[processed + 2048], heard[processed - 1]) << processed;
    }
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
        EXPECT_EQ(ramp.time, 512);
        ramp.delay = 2;
        ramp.setTarget(16 * step);
        for (const float expected : {0.0f, 0.0f, step, 2 * step}) EXPECT_EQ(ramp.tick(), expected);
        for (int i = 3; i < 16; ++i) ramp.tick();
        EXPECT_EQ(ramp.tick(), 5.0f) << "in the sixteenth step";
        ramp.tick();
        EXPECT_EQ(ramp.increase, 0.0f);
    }
    EXPECT_EQ(arrivals, 2);
    for (const auto& [target, current] : {std::pair{9e-7f, 9e-7f}, {1e-6f, 0.0f}}) {
        ramp.rest(0);
        ramp.setTarget(target);
        EXPECT_EQ(ramp.currentValue, current) << "below a millionth it jumps";
    }
}

TEST(Sound, ValuesOutOfRangeHoldWidthAtItsEndAndPanoramaBeforeIt) {
    for (const float side : {-1.0f, 1.0f}) {
        KernelRig rig;
        for (const auto address : {kStereoWidth, kPanorama})
            rig.kernel.setParameter(address, 0.5f + 0.6f * side);
        Samples silence(256);
        for (int cycle = 0; cycle < 20; ++cycle) rig.render(silence, silence);
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
        EXPECT_FLOAT_EQ(near[2], 0.8f * (1 + 0.5f * 0.5f)) << "after a frame of delay";
        EXPECT_FLOAT_EQ(near[4] + far[5], 0.6f * (1 + 0.5f));
    }
}

}  // namespace
