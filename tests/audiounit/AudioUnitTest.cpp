#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"

#include <cmath>
#include <vector>

#include <gmock/gmock.h>

#include "audiounit/HostBlocks.h"
#include "platform/foundation/NSError.h"
#include "tests/audiounit/RenderingUnit.h"

namespace qov {
namespace {

using namespace platform;
using testing::ElementsAre;

class AudioUnitTest : public testing::Test {
 protected:
    static AUAudioUnit::PresetPointer preset(std::int64_t number, std::optional<std::string> name) {
        return std::make_shared<AUAudioUnitPreset>(AUAudioUnitPreset{number, std::move(name)});
    }

    ConsoleLines console_;
    RenderingUnit host_;
    QOV_Kelvane_PluginAudioUnit& unit_ = *host_.unit;
};

TEST_F(AudioUnitTest, NewInstanceIsNeutralAndLogsIt) {
    EXPECT_THAT(console_.take(),
                ElementsAre("DIAGNOSTICS: QOW Kelvane DSP Kernel loaded.",
                            "currentPreset Factory: 0, 1. Default Preset (Init)\n"));
    for (const auto& parameter : unit_.parameterTree()->allParameters()) {
        EXPECT_EQ(parameter->value(), parameter->address() < kPhaseShift ? 0.5f : 0.0f);
        EXPECT_EQ(parameter->flags(), 0x80000000u);
    }
    EXPECT_EQ(unit_.maximumFramesToRender(), 1024u);
    EXPECT_EQ((*unit_.inputBusses())[0]->maximumChannelCount(), 2u);
    EXPECT_EQ((*unit_.outputBusses())[0]->format()->sampleRate(), 44100);
    EXPECT_TRUE(unit_.canProcessInPlace());
    EXPECT_EQ(unit_.latency(), 0);
    EXPECT_THAT(unit_.MIDIOutputNames(), ElementsAre("QOV Kelvane MIDIOut"));
    EXPECT_THAT(unit_.parametersForOverviewWithCount(2), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));

    QOV_Kelvane_PluginAudioUnit other;
    EXPECT_FALSE(other.initWithComponentDescription({}, 0, nullptr));
    EXPECT_EQ(other.parameterTree(), nullptr) << "a base that fails builds nothing";
    EXPECT_TRUE(other.factoryPresets().empty());
}

TEST_F(AudioUnitTest, TextHasNoDecimals) {
    const auto width = unit_.parameterTree()->parameterWithAddress(kStereoWidth);
    EXPECT_EQ(width->stringFromValue(nullptr), "0");
    const float more = std::nextafterf(0.5f, 1);
    EXPECT_EQ(width->stringFromValue(&more), "1");
}

TEST_F(AudioUnitTest, OnlyAChangedValueReachesTheKernel) {
    host_.setValue(kPhaseShift, 1);
    EXPECT_EQ(unit_.getPhaseShift(), 441);
    host_.allocate();
    EXPECT_EQ(unit_.getPhaseShift(), 1) << "allocation forgets the delay";
    host_.setValue(kPhaseShift, 1);
    EXPECT_EQ(unit_.getPhaseShift(), 1) << "an equal value is not passed on";
    host_.setValue(kPhaseShift, 0.5f);
    EXPECT_EQ(unit_.getPhaseShift(), 220);
    host_.setValue(kTestMono, 0.75f);
    EXPECT_EQ(host_.value(kTestMono), 1) << "read back as it is stored";
    unit_.setParameter(kVolume, 0.5f);
    EXPECT_EQ(unit_.getParameter(kVolume) + unit_.getParameter(-1), 0.5f);
}

TEST_F(AudioUnitTest, AllocationFailsWholeForOtherChannelsAndWithoutMemory) {
    const auto refused = [&] {
        NSError error;
        EXPECT_FALSE(unit_.allocateRenderResourcesAndReturnError(&error));
        EXPECT_EQ(error, NSError("NSOSStatusErrorDomain", -10875));
        EXPECT_FALSE(unit_.allocateRenderResourcesAndReturnError(nullptr));
        EXPECT_FALSE(unit_.renderResourcesAllocated());
    };
    for (const std::uint32_t channels : {4, 1}) {
        const auto format = AVAudioFormat::initStandardFormatWithSampleRate(48000, channels);
        (*unit_.inputBusses())[0]->setFormat(format, nullptr);
        refused();
        unit_.outputBus()->setFormat(format, nullptr);
        if (channels > 2) refused();
    }
    EXPECT_TRUE(unit_.allocateRenderResourcesAndReturnError(nullptr));
    EXPECT_EQ(unit_.getSamplerate(), 48000);
    unit_.deallocateRenderResources();
    unit_.setMaximumFramesToRender(0);
    refused();
}

TEST_F(AudioUnitTest, AllocationAnnouncesAndKeepsTheHostsBlocks) {
    unit_.setMusicalContextBlock([](auto...) { return true; });
    unit_.setTransportStateBlock([](auto...) { return true; });
    unit_.setScheduleMIDIEventBlock([](auto...) {});
    unit_.setMIDIOutputEventBlock([](auto...) { return AUAudioUnitStatus{0}; });
    console_.take();
    host_.allocate();
    EXPECT_THAT(
        console_.take(),
        ElementsAre("musicalContextBlock() is defined", "transportStateBlock() is defined.",
                    "scheduleMIDIEventBlock() is defined.", "MIDIOutputEventBlock() is defined.",
                    "MIDIOutputEventBlock is defined and will be used."));
    EXPECT_TRUE(_musicalContext && _transportStateBlock && _scheduleMIDIEventBlock &&
                _outputEventBlock);
    RenderingUnit other;
    other.allocate();
    EXPECT_EQ(console_.take().back(),
              "MIDIOutputEventBlock is currently undefined and cannot be used with this host.");
    EXPECT_FALSE(_musicalContext || _transportStateBlock || _scheduleMIDIEventBlock ||
                 _outputEventBlock);
}

TEST_F(AudioUnitTest, NullOutputRendersIntoTheInputBuffers) {
    host_.allocate();
    host_.setValue(kBypass, 1);
    auto input = ramp(16);
    host_.pulled = StereoBufferList(input.left.data(), input.right.data(), 16);
    float instead[16] = {};  // the first buffer decides for both
    StereoBufferList output(nullptr, instead, 16);
    ASSERT_EQ(0, host_.block(nullptr, &host_.time, 16, 0, output.list(), nullptr, host_.pull));
    const auto* left = static_cast<float*>(output.mBuffers[0].mData);
    const auto* right = static_cast<float*>(output.mBuffers[1].mData);
    EXPECT_NE(left, input.left.data()) << "the pull buffer, not the host's";
    EXPECT_EQ((Stereo{{left, left + 16}, {right, right + 16}}), input);
}

TEST_F(AudioUnitTest, WithoutInputNothingIsRendered) {
    host_.allocate();
    const Stereo untouched{{-9, -9}, {-9, -9}};
    host_.pull = {};
    EXPECT_EQ(host_.render(ramp(2), {}, kAudioUnitErr_NoConnection), untouched);
    host_.pull = [](auto...) { return AUAudioUnitStatus{-77}; };
    EXPECT_EQ(host_.render(ramp(2), {parameterEvent(0, kTestMono, 1)}, -77), untouched);
    EXPECT_EQ(host_.value(kTestMono), 0) << "the kernel was called";
}

TEST_F(AudioUnitTest, EachPullStartsFromTheUnitsOwnBuffers) {
    host_.allocate();
    std::vector<void*> offered;
    float silence[64] = {};
    host_.pull = [&](auto*, auto*, auto, auto bus, AudioBufferList* data) {
        auto& right = data->mBuffers[1];
        EXPECT_EQ(right.mDataByteSize, 4096u + bus) << "the longest cycle's";
        offered.push_back(right.mData);
        data->mBuffers[0].mData = right.mData = silence;
        right.mDataByteSize = 4;
        return AUAudioUnitStatus{0};
    };
    for (int cycle = 0; cycle < 2; ++cycle) host_.render(ramp(8));
    EXPECT_EQ(offered[0], offered[1]);
}

TEST_F(AudioUnitTest, FetchingEitherChannelClearsTheNewDataFlag) {
    host_.allocate();
    EXPECT_EQ(unit_.getBufferSize(), 2048);
    for (int quarter = 0; quarter < 4; ++quarter) host_.render(ramp(512));
    EXPECT_FALSE(unit_.isNewBuffer());
    host_.render(ramp(1));
    EXPECT_TRUE(unit_.isNewBuffer());
    EXPECT_EQ(unit_.getBufferRight()[1], -2);
    EXPECT_FALSE(unit_.isNewBuffer());
    for (int quarter = 0; quarter < 4; ++quarter) host_.render(ramp(512));
    EXPECT_TRUE(unit_.isNewBuffer());
    EXPECT_EQ(unit_.getBufferLeft()[0], 511) << "the last frame; left is one behind";
    EXPECT_FALSE(unit_.isNewBuffer());
}

TEST_F(AudioUnitTest, FactoryPresetSetsTheKernelThroughTheTreeAndNotifiesObservers) {
    std::vector<AUParameterAddress> notified;
    unit_.parameterTree()->tokenByAddingParameterObserver(
        [&](AUParameterAddress address, AUValue) { notified.push_back(address); });
    for (const std::int64_t number : {2, 0, 1}) {
        for (AUParameterAddress address = 0; address < 8; ++address) host_.setValue(address, 1);
        notified.clear();
        unit_.setCurrentPreset(preset(number, "a host's own name for it"));
        for (int address = 0; address < 8; ++address)
            EXPECT_EQ(unit_.getParameter(address), address < 2 ? 0.5f : 0.0f) << number;
        EXPECT_THAT(notified, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    }
    EXPECT_EQ(console_.take().back(), "currentPreset Factory: 1, 2. Default Preset (Init)\n");
    ASSERT_EQ(unit_.factoryPresets().size(), 3u);
    EXPECT_EQ(unit_.currentPreset(), unit_.factoryPresets()[1]);
    EXPECT_THAT(console_.take(), ElementsAre("Returning Current Factory Preset: 1\n"));
}

TEST_F(AudioUnitTest, CustomPresetsAreOnlyRememberedAndInvalidOnesRejected) {
    console_.take();
    host_.setValue(kStereoWidth, 0.25f);
    const auto mine = preset(-1, "Mine");
    for (const auto& given : {mine, preset(5, "No such"), {}, preset(-1, std::nullopt)})
        unit_.setCurrentPreset(given);
    EXPECT_EQ(unit_.currentPreset(), mine);
    EXPECT_EQ(unit_.getParameter(kStereoWidth), 0.25f);
    EXPECT_THAT(console_.take(),
                ElementsAre("currentPreset Custom: -1, Mine\n", "nil passed to setCurrentPreset!",
                            "setCurrentPreset not set! - invalid AUAudioUnitPreset\n",
                            "Returning Current Custom Preset: -1, Mine\n"));
}

}  // namespace
}  // namespace qov
