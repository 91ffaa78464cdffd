// Which observers a change of a parameter calls, on which thread, and until when.

#include "platform/audiotoolbox/AUParameterTree.h"

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "platform/dispatch/DispatchQueue.h"
#include "platform/dispatch/RunLoop.h"

namespace platform {
namespace {

std::shared_ptr<AUParameter> gain(AUParameterAddress address, std::string identifier) {
    return AUParameterTree::createParameterWithIdentifier(
        std::move(identifier), "Gain", address, 0, 2, kAudioUnitParameterUnit_Generic, {},
        kAudioUnitParameterFlag_IsWritable, {}, {});
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
        AUParameterTree::createTreeWithChildren({gain(7, "left"), gain(3, "right")});
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
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        while (!stop) left_->setValue(1);
    });
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<std::atomic<int>>(0);
        const auto token = tree_->tokenByAddingParameterObserver(
            [counted = target.get()](AUParameterAddress, AUValue) { ++*counted; });
        while (*target == 0) std::this_thread::yield();
        tree_->removeParameterObserver(token);
        target.reset();  // a call that is still under way would touch freed memory
    }
    stop = true;
    setter.join();
    left_->setValue(1);
}

}  // namespace
}  // namespace platform
