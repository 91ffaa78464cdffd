#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/Stereo.h"
#include "tests/support/renderEvents.h"

namespace qov {

/// An initialised audio unit and a host that renders whole signals through it.
class RenderingUnit {
 public:
    RenderingUnit() : unit(std::make_shared<QOV_Kelvane_PluginAudioUnit>()) {
        EXPECT_TRUE(unit->initWithComponentDescription(componentDescription, 0, nullptr));
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
    platform::AURenderPullInputBlock pull = [this](auto*, auto*, auto frames, auto, auto* data) {
        for (std::uint32_t i = 0; i < data->mNumberBuffers && i < 2; ++i)
            std::copy_n(static_cast<const float*>(pulled.mBuffers[i].mData), frames,
                        static_cast<float*>(data->mBuffers[i].mData));
        return platform::AUAudioUnitStatus{0};
    };
};

using test::midiEvent;
using test::parameterEvent;

}  // namespace qov
