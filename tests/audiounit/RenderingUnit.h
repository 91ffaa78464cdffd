#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/renderEvents.h"

namespace qov {

/// A stereo signal, or what came out for one.
struct Stereo {
    std::vector<float> left;
    std::vector<float> right;
    bool operator==(const Stereo&) const = default;
};

/// Frames 1, 2, 3, … on the left and their negatives on the right: each frame shows its place.
inline Stereo ramp(std::size_t frames) {
    Stereo signal;
    for (std::size_t i = 1; i <= frames; ++i) {
        signal.left.push_back(static_cast<float>(i));
        signal.right.push_back(-static_cast<float>(i));
    }
    return signal;
}

/// White noise in -1..1, the same for the same length.
inline Stereo noise(std::size_t frames) {
    std::minstd_rand random(7);
    std::uniform_real_distribution<float> level(-1, 1);
    Stereo signal{std::vector<float>(frames), std::vector<float>(frames)};
    for (auto* channel : {&signal.left, &signal.right})
        for (auto& sample : *channel) sample = level(random);
    return signal;
}

/// An initialised audio unit and a host that renders whole signals through it.
class RenderingUnit {
 public:
    RenderingUnit() : unit(std::make_shared<QOV_Kelvane_PluginAudioUnit>()) {
        platform::NSError* const none = nullptr;
        EXPECT_TRUE(unit->initWithComponentDescription(componentDescription, 0, none));
    }

    void allocate() {
        ASSERT_TRUE(unit->allocateRenderResourcesAndReturnError(nullptr));
        block = unit->internalRenderBlock();
    }

    /// One cycle; `events` holds times from 0 on, sorted. The clock goes on from cycle to cycle.
    Stereo render(Stereo input, std::vector<platform::AURenderEvent> events = {},
                  platform::AUAudioUnitStatus expected = 0) {
        const auto frames = static_cast<std::uint32_t>(input.left.size());
        pulled = platform::StereoBufferList(input.left.data(), input.right.data(), frames);
        Stereo output{std::vector<float>(frames, -9), std::vector<float>(frames, -9)};
        platform::StereoBufferList list(output.left.data(), output.right.data(), frames);
        for (auto& event : events)
            event.head.eventSampleTime += static_cast<std::int64_t>(time.mSampleTime);
        EXPECT_EQ(expected,
                  block(nullptr, &time, frames, 0, list.list(), test::linked(events), pull));
        time.mSampleTime += frames;
        return output;
    }

    float value(platform::AUParameterAddress address) const {
        return unit->parameterTree()->parameterWithAddress(address)->value();
    }
    void setValue(platform::AUParameterAddress address, float value) {
        unit->parameterTree()->parameterWithAddress(address)->setValue(value);
    }

    std::shared_ptr<QOV_Kelvane_PluginAudioUnit> unit;
    platform::AUInternalRenderBlock block;
    platform::AudioTimeStamp time{0, 0, platform::kAudioTimeStampSampleTimeValid};
    platform::StereoBufferList pulled;  // what the pull block copies from
    platform::AURenderPullInputBlock pull =
        [this](platform::AudioUnitRenderActionFlags*, const platform::AudioTimeStamp*,
               platform::AUAudioFrameCount frames, std::int64_t,
               platform::AudioBufferList* data) -> platform::AUAudioUnitStatus {
        for (std::uint32_t i = 0; i < data->mNumberBuffers && i < 2; ++i)
            std::copy_n(static_cast<const float*>(pulled.mBuffers[i].mData), frames,
                        static_cast<float*>(data->mBuffers[i].mData));
        return 0;
    };
};

using test::midiEvent;
using test::parameterEvent;

}  // namespace qov
