#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "animation/Animator.h"
#include "platform/dispatch/RunLoop.h"

/// A run loop on a test clock, a log of the callbacks, and the animators of the test, all of which
/// must be gone once they are disposed of and the loop has ended.
class RecordingLoop : public testing::Test {
 protected:
    ~RecordingLoop() override {
        loop->end();
        for (const auto& animator : animators) animator->dispose();
        animators.clear();
        EXPECT_EQ(qov::Animator::animatorInstanceCount(), 0) << "an animator is held by something";
    }

    /// An armed linear animator, 0.01 s a frame, that logs "NAME0.25", "NAMEfinished:1" and
    /// "NAMEloop".
    qov::Animator& armed(const std::string& name, float source, float destination,
                         std::int64_t frames) {
        auto animator = qov::Animator::init(source, destination, frames, 0.01f,
                                            qov::EnumEasing::EASING_easeNone);
        animator->onAnimation = [=, this](auto&, float value) { say(name, value); };
        animator->onFinished = [=, this](auto&, float value) { say(name + "finished:", value); };
        animator->onLoop = [=, this](auto&) { say(name + "loop"); };
        animators.push_back(animator);
        return *animator;
    }

    void say(const std::string& text) { log += text + " "; }
    void say(const std::string& text, float value) {
        say((std::ostringstream() << text << value).str());
    }

    std::string log;
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::vector<std::shared_ptr<qov::Animator>> animators;
};
