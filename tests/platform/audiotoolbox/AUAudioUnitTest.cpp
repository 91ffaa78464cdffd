// What a host relies on of an audio unit's base class, its busses and buffers.

#include "platform/audiotoolbox/AUAudioUnit.h"

#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

#include "platform/audiotoolbox/AUAudioUnitBus.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/avfoundation/AVAudioPCMBuffer.h"
#include "platform/foundation/NSError.h"

namespace platform {
namespace {

const auto format = AVAudioFormat::initStandardFormatWithSampleRate;

std::shared_ptr<AUParameter> parameter(AUParameterAddress address,
                                       AudioUnitParameterOptions flags) {
    return AUParameterTree::createParameterWithIdentifier(
        "p", "P", address, 0, 1, kAudioUnitParameterUnit_Generic, {}, flags, {}, {});
}

TEST(AUAudioUnit, RefusesWildcardsAndCyclesOfNoFrames) {
    AUAudioUnit unit;
    NSError error;
    EXPECT_FALSE(unit.initWithComponentDescription({kAudioUnitType_Effect, 0, 1}, 0, &error));
    EXPECT_EQ(error, NSError(NSOSStatusErrorDomain, -3000));
    unit.setMaximumFramesToRender(0);
    EXPECT_FALSE(unit.allocateRenderResourcesAndReturnError(&error));
    EXPECT_EQ(error.code(), -10875);
    unit.setMaximumFramesToRender(64);
    ASSERT_TRUE(unit.allocateRenderResourcesAndReturnError(nullptr));
    unit.setMaximumFramesToRender(128);
    EXPECT_EQ(unit.maximumFramesToRender(), 64u) << "fixed while allocated";
}

TEST(AUAudioUnit, StateOfAnotherComponentOrTypeIsIgnored) {
    AUAudioUnit unit;
    unit.initWithComponentDescription({kAudioUnitType_Effect, 1, 2}, 0, nullptr);
    const auto writable = parameter(0, kAudioUnitParameterFlag_IsWritable);
    const auto readable = parameter(1, kAudioUnitParameterFlag_IsReadable);
    unit.setParameterTree(AUParameterTree::createTreeWithChildren({writable, readable}));
    auto state = unit.fullState();
    auto& data = std::get<std::map<AUParameterAddress, AUValue>>(state["data"]);
    EXPECT_EQ(data.size(), 1u) << "only what is writable";
    data = {{0, 0.5f}, {99, 1.0f}};
    state["preset-number"] = "three";
    auto foreign = state;
    foreign["subtype"] = std::int64_t{9};
    unit.setFullState(foreign);
    EXPECT_EQ(writable->value(), 0);
    unit.setFullState(state);
    EXPECT_EQ(writable->value(), 0.5f) << "an unknown address beside it";
    EXPECT_EQ(unit.currentPreset(), nullptr);
}

TEST(AUAudioUnitBus, NeedsAFormat) {
    NSError error;
    EXPECT_EQ(AUAudioUnitBus::initWithFormat(nullptr, &error), nullptr);
    EXPECT_EQ(error.code(), -10868);
    EXPECT_FALSE(
        AUAudioUnitBus::initWithFormat(format(48000, 1), nullptr)->setFormat(nullptr, nullptr));
}

TEST(AVAudioPCMBuffer, ChannelsAreSilentAlignedAndApart) {
    for (const double rate : {0.0, -1.0, std::nan(""), double{INFINITY}, 44100.0})
        EXPECT_EQ(format(rate, rate == 44100 ? 0 : 2), nullptr) << rate;
    for (const std::uint32_t frames : {0u, 1u, 16u, 1000u}) {
        AVAudioPCMBuffer buffer(format(44100, 3), frames);
        auto& list = *buffer.mutableAudioBufferList();
        ASSERT_EQ(list.mNumberBuffers, 3u);
        for (const auto* channel = list.mBuffers; channel != list.mBuffers + 3; ++channel) {
            auto* samples = static_cast<float*>(channel->mData);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(samples) % 16, 0u);
            EXPECT_EQ(channel->mDataByteSize, frames * 4);
            for (std::uint32_t i = 0; i < frames; ++i) ASSERT_EQ(samples[i]++, 0) << i;
        }
        list.mBuffers[0].mData = nullptr;
        EXPECT_NE(buffer.audioBufferList()->mBuffers[0].mData, nullptr);
    }
}

}  // namespace
}  // namespace platform
