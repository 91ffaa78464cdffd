#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "animation/Animator.h"
#include "platform/dispatch/RunLoop.h"

/// A run loop on a test clock, a log of what the callbacks said, and the animators of the test, all
/// of which must be gone once they are disposed of and the loop has ended.
class RecordingLoop : public testing::Test {
 protected:
    ~RecordingLoop() override {
        log.clear();
        loop->end();
        for (const auto& animator : animators) animator->dispose();
        animators.clear();
        EXPECT_EQ(qov::Animator::animatorInstanceCount(), 0) << "an animator is held by something";
    }

    /// An armed animator that logs "NAME 0.25", "NAME finished 1" and "NAME loop".
    qov::Animator& armed(const std::string& name, float source, float destination,
                         std::int64_t frames) {
        auto animator = qov::Animator::init(source, destination, frames, 0.01f,
                                            qov::EnumEasing::EASING_easeNone);
        animator->onAnimation = [=, this](auto&, float value) { say(name + " " + text(value)); };
        animator->onFinished = [=, this](auto&, float value) {
            say(name + " finished " + text(value));
        };
        animator->onLoop = [=, this](auto&) { say(name + " loop"); };
        animators.push_back(animator);
        return *animator;
    }

    void say(std::string line) { log.push_back(std::move(line)); }

    static std::string text(float value) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%g", static_cast<double>(value));
        return digits;
    }

    using Log = std::vector<std::string>;
    Log log;
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::vector<std::shared_ptr<qov::Animator>> animators;
};
