// The audio thread's side of an instance neither allocates, nor locks, nor calls the system.

#include <vector>

#include <gtest/gtest.h>

#include "editor/AudioUnitViewController.h"
#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "tests/audiounit/RenderingUnit.h"
#include "tests/dsp/realTimeGuard.h"

namespace qov::hosts {
namespace {

class RealTimeTest : public testing::Test {
 protected:
    void SetUp() override {
#ifdef QOV_SANITIZED
        GTEST_SKIP() << "the sanitizer has the allocator to itself";
#endif
        ASSERT_TRUE(instance_->activate(192000, 4096, nullptr));
        for (std::uint32_t i = 0; i < 3000; ++i)
            events_.push_back(
                HostEvent::parameter(i * 7919 % 5000, i % 11, static_cast<float>(i % 101) / 90));
        events_.push_back(HostEvent::message(17, {0xb0, 7, 100}));
        instance_->touchBegan();
        instance_->audioUnit().parameterTree()->parameterWithAddress(0)->setValue(0.3f);
    }

    void everything() {
        auto* const a = memory_.data();
        for (const std::uint32_t frames : {0u, 1u, 64u, 4096u, 8192u}) {
            instance_->process({a, a + 8192}, {a + 16384, a + 24576}, frames, events_);
            instance_->process({a, a + 8192}, {a, a + 8192}, frames, events_);
            instance_->process({a, a + 8192}, {a + 8192, a}, frames, events_);
            instance_->process({a, a + 8192}, {a + 5, a + 9000}, frames, {});
            instance_->process({nullptr, a}, {a, nullptr}, frames, {});
        }
        instance_->edits().take([this](const EditExchange::Edit&) { ++edits_; });
        instance_->takeLatencyChange();
        instance_->reset();
    }

    ConsoleLines quiet_;
    std::unique_ptr<Instance> instance_ = Instance::create(
        nullptr, platform::RunLoop::createForTest(), std::make_shared<AudioUnitViewController>());
    std::vector<float> memory_ = std::vector<float>(5 * 8192, 0.5f);
    std::vector<HostEvent> events_;
    int edits_ = 0;
};

TEST_F(RealTimeTest, NeitherAllocatesNorLocks) {
    EXPECT_EQ(test::countedCalls([this] { everything(); }), 0);
    EXPECT_EQ(edits_, 2) << "a gesture's begin and its value";
}

TEST_F(RealTimeTest, CallsNoSystem) {
    const int status = test::statusWithoutSystem([this] { everything(); });
    if (status == 77) GTEST_SKIP() << "no filter to be had here";
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace qov::hosts
