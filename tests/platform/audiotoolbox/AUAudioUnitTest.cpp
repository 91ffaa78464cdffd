#include "platform/audiotoolbox/AUAudioUnit.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "platform/audiotoolbox/AUAudioUnitBus.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/avfoundation/AVAudioPCMBuffer.h"
#include "platform/foundation/NSError.h"

namespace platform {
namespace {

constexpr AudioComponentDescription description{kAudioUnitType_Effect, fourCharacterCode("test"),
                                                fourCharacterCode("Self")};

std::shared_ptr<AUParameter> parameter(AUParameterAddress address,
                                       AudioUnitParameterOptions flags) {
    return AUParameterTree::createParameterWithIdentifier(std::to_string(address), "P", address, 0,
                                                          1, kAudioUnitParameterUnit_Generic, {},
                                                          flags, {}, {});
}

class AUAudioUnitTest : public testing::Test {
 protected:
    AUAudioUnitTest() {
        unit_.initWithComponentDescription(description, 0, nullptr);
        unit_.setParameterTree(AUParameterTree::createTreeWithChildren(
            {parameter(0, kAudioUnitParameterFlag_IsWritable),
             parameter(1, kAudioUnitParameterFlag_IsReadable)}));
    }

    AUValue value(AUParameterAddress address) {
        return unit_.parameterTree()->parameterWithAddress(address)->value();
    }

    AUAudioUnit unit_;
};

TEST_F(AUAudioUnitTest, WildcardsNameNoComponent) {
    AUAudioUnit unit;
    NSError error;
    EXPECT_FALSE(unit.initWithComponentDescription({kAudioUnitType_Effect, 0, 1}, 0, &error));
    EXPECT_EQ(error, NSError(NSOSStatusErrorDomain, -3000));
}

TEST_F(AUAudioUnitTest, LongestCycleStandsWhileResourcesAreAllocated) {
    unit_.setMaximumFramesToRender(0);
    NSError error;
    EXPECT_FALSE(unit_.allocateRenderResourcesAndReturnError(&error));
    EXPECT_EQ(error.code(), -10875);
    unit_.setMaximumFramesToRender(64);
    ASSERT_TRUE(unit_.allocateRenderResourcesAndReturnError(nullptr));
    unit_.setMaximumFramesToRender(128);
    EXPECT_EQ(unit_.maximumFramesToRender(), 64u);
    unit_.deallocateRenderResources();
    unit_.setMaximumFramesToRender(128);
    EXPECT_EQ(unit_.maximumFramesToRender(), 128u);
}

TEST_F(AUAudioUnitTest, StateCarriesWritableValuesAndThePreset) {
    unit_.parameterTree()->parameterWithAddress(0)->setValue(0.25f);
    unit_.setCurrentPreset(std::make_shared<AUAudioUnitPreset>(AUAudioUnitPreset{-4, "Mine"}));
    const auto state = unit_.fullState();

    unit_.parameterTree()->parameterWithAddress(0)->setValue(1);
    unit_.parameterTree()->parameterWithAddress(1)->setValue(1);
    unit_.setCurrentPreset(nullptr);
    unit_.setFullState(state);
    EXPECT_EQ(value(0), 0.25f);
    EXPECT_EQ(value(1), 1);
    ASSERT_NE(unit_.currentPreset(), nullptr);
    EXPECT_EQ(unit_.currentPreset()->number, -4);
    EXPECT_EQ(unit_.currentPreset()->name, "Mine");
}

TEST_F(AUAudioUnitTest, StateOfAnotherComponentOrOfOtherTypesIsIgnored) {
    auto state = unit_.fullState();
    state["data"] = std::map<AUParameterAddress, AUValue>{{0, 1.0f}, {99, 1.0f}};
    auto foreign = state;
    foreign["subtype"] = std::int64_t{1};
    unit_.setFullState(foreign);
    EXPECT_EQ(value(0), 0);
    state["preset-number"] = "three";
    unit_.setFullState(state);
    EXPECT_EQ(value(0), 1);
    EXPECT_EQ(unit_.currentPreset(), nullptr);
}

TEST(AUAudioUnitBus, NeedsAFormat) {
    NSError error;
    EXPECT_EQ(AUAudioUnitBus::initWithFormat(nullptr, &error), nullptr);
    EXPECT_EQ(error.code(), -10868);
    const auto format = AVAudioFormat::initStandardFormatWithSampleRate(48000, 1);
    const auto bus = AUAudioUnitBus::initWithFormat(format, nullptr);
    EXPECT_FALSE(bus->setFormat(nullptr, nullptr));
    EXPECT_EQ(bus->format(), format);
}

TEST(AVAudioFormat, RefusesWhatIsNoFormat) {
    for (const double rate : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(AVAudioFormat::initStandardFormatWithSampleRate(rate, 2), nullptr) << rate;
    EXPECT_EQ(AVAudioFormat::initStandardFormatWithSampleRate(44100, 0), nullptr);
}

TEST(AVAudioPCMBuffer, ChannelsAreSilentAlignedAndApart) {
    for (const std::uint32_t frames : {0u, 1u, 16u, 1000u}) {
        AVAudioPCMBuffer buffer(AVAudioFormat::initStandardFormatWithSampleRate(44100, 3), frames);
        auto& list = *buffer.mutableAudioBufferList();
        ASSERT_EQ(list.mNumberBuffers, 3u);
        for (std::uint32_t channel = 0; channel < 3; ++channel) {
            auto* samples = static_cast<float*>(list.mBuffers[channel].mData);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(samples) % 16, 0u);
            EXPECT_EQ(list.mBuffers[channel].mDataByteSize, frames * 4);
            for (std::uint32_t i = 0; i < frames; ++i) {
                ASSERT_EQ(samples[i], 0) << "channel " << channel << " frame " << i;
                samples[i] = 1;
            }
        }
        list.mBuffers[0].mData = nullptr;
        EXPECT_NE(buffer.audioBufferList()->mBuffers[0].mData, nullptr);
    }
}

}  // namespace
}  // namespace platform
