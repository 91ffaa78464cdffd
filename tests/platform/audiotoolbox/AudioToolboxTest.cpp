// What a host relies on of an audio unit's base class, its busses and buffers, and which observers
// a change of a parameter calls, on which thread, and until when.

#include "platform/audiotoolbox/AUAudioUnit.h"

#include <atomic>
#include <cmath>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "platform/audiotoolbox/AUAudioUnitBus.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/avfoundation/AVAudioPCMBuffer.h"
#include "platform/dispatch/DispatchQueue.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/NSError.h"

namespace platform {
namespace {

const auto format = AVAudioFormat::initStandardFormatWithSampleRate;

std::shared_ptr<AUParameter> parameter(
    AUParameterAddress address, const char* identifier,
    AudioUnitParameterOptions flags = kAudioUnitParameterFlag_IsWritable) {
    return AUParameterTree::createParameterWithIdentifier(
        identifier, "Gain", address, 0, 2, kAudioUnitParameterUnit_Generic, {}, flags, {}, {});
}

TEST(AUAudioUnit, RefusesWildcardsCyclesOfNoFramesAndBussesWithoutAFormat) {
    AUAudioUnit unit;
    NSError error;
    EXPECT_FALSE(unit.initWithComponentDescription({kAudioUnitType_Effect, 0, 1}, 0, &error));
    EXPECT_EQ(error, NSError(NSOSStatusErrorDomain, -3000));
    EXPECT_EQ(AUAudioUnitBus::initWithFormat(nullptr, &error), nullptr);
    EXPECT_EQ(error.code(), -10868);
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
    const auto writable = parameter(0, "a"), readable = parameter(1, "b", 0);
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

class AUParameterTreeTest : public testing::Test {
 protected:
    AUParameterObserver note(std::string who) {
        return [this, who](AUParameterAddress address, AUValue value) {
            calls_ += (std::ostringstream() << who << " " << address << "=" << value << ";").str();
        };
    }
    std::string calls() { return std::exchange(calls_, {}); }

    std::shared_ptr<AUParameterTree> tree_ =
        AUParameterTree::createTreeWithChildren({parameter(7, "left"), parameter(3, "right")});
    std::shared_ptr<AUParameter> left_ = tree_->parameterWithAddress(7);
    std::string calls_;
};

TEST_F(AUParameterTreeTest, CallsTheAudioUnitThenEveryObserverButTheOriginator) {
    EXPECT_EQ(tree_->valueForKey("right")->address(), 3u);
    EXPECT_EQ(tree_->parameterWithAddress(0), nullptr);
    EXPECT_EQ(tree_->valueForKey("Gain"), nullptr);
    const auto token = tree_->tokenByAddingParameterObserver(note("first"));
    tree_->tokenByAddingParameterAutomationObserver(
        [this](AUParameterAddress, AUValue, AUParameterAutomationEventType type) {
            calls_ += "type " + std::to_string(type) + ";";
        });
    left_->setValue(1, token);
    EXPECT_EQ(calls() + left_->stringFromValue(nullptr), "type 0;1");
    tree_->setImplementorValueObserver(
        [this](const AUParameter&, AUValue) { calls_ += "audio unit;"; });
    tree_->setImplementorValueProvider([](const AUParameter&) { return 0.25f; });
    left_->setValue(2, nullptr, AUParameterAutomationEventTypeTouch);
    EXPECT_EQ(calls(), "audio unit;first 7=2;type 1;");
    EXPECT_EQ(left_->value(), 0.25f) << "the provider's";
    const AUValue asked = 1.5f;
    EXPECT_EQ(left_->stringFromValue(nullptr) + left_->stringFromValue(&asked), "0.251.5");
    left_->didChangeValue();
    EXPECT_EQ(calls(), "first 7=0.25;type 0;");
}

TEST_F(AUParameterTreeTest, ObserverMaySetAnotherValueAddAnObserverAndThrow) {
    bool added = false;
    const auto token =
        tree_->tokenByAddingParameterObserver([&](AUParameterAddress address, AUValue value) {
            if (address != 7) return;
            if (value == 2) throw value;
            if (!std::exchange(added, true)) tree_->tokenByAddingParameterObserver(note("late"));
            tree_->parameterWithAddress(3)->setValue(value);
        });
    left_->setValue(1);
    EXPECT_EQ(calls(), "late 3=1;");
    EXPECT_THROW(left_->setValue(2), AUValue);
    tree_->removeParameterObserver(token);  // would hang if the thrower still counted
    left_->setValue(2);
    EXPECT_EQ(calls(), "late 7=2;");
}

TEST_F(AUParameterTreeTest, WorkQueuedByAnObserverRunsOnTheLoopItWasAddedOn) {
    auto loop = RunLoop::createForTest();
    {
        const RunLoop::MakeCurrent current(loop);
        tree_->tokenByAddingParameterObserver([this](AUParameterAddress address, AUValue value) {
            DispatchQueue::main().async([=, this] { note("queued")(address, value); });
        });
    }
    std::thread([this] { left_->setValue(1); }).join();
    EXPECT_EQ(calls(), "");
    loop->pump();
    EXPECT_EQ(calls(), "queued 7=1;");
    loop.reset();
    left_->setValue(2);
    RunLoop::main().pump();
    EXPECT_EQ(calls(), "");
}

TEST_F(AUParameterTreeTest, RemovedObserverIsNotRunningAnywhere) {
    const std::jthread setter([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) left_->setValue(1);
    });
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<std::atomic<int>>(0);
        const auto token = tree_->tokenByAddingParameterObserver(
            [counted = target.get()](AUParameterAddress, AUValue) { ++*counted; });
        while (*target == 0) std::this_thread::yield();
        tree_->removeParameterObserver(token);
        target.reset();  // a call that is still under way would touch freed memory
    }
}

}  // namespace
}  // namespace platform
