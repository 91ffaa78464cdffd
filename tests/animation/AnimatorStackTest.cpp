#include "animation/AnimatorStack.h"

#include "tests/animation/RecordingLoop.h"

namespace {

using qov::Animator;
using qov::AnimatorStack;

class AnimatorStacks : public RecordingLoop {
 protected:
    void add(Animator& animator) { stack->add(animator.shared_from_this()); }

    void logEverything() {
        stack->onAnimation = [this](auto&, Animator& a) { say("frame:", a.getValue()); };
        stack->onFinished = [this](AnimatorStack& s) {
            say("stack:", static_cast<float>(s.getCount()));
        };
        stack->onRemovedItem = [this](AnimatorStack& s, Animator& a) {
            say("removed of " + std::to_string(s.getCount() + 1) + ":", a.getValue());
        };
    }

    std::shared_ptr<AnimatorStack> stack = AnimatorStack::init();
};

TEST_F(AnimatorStacks, KeepTheLastEleven) {
    for (int i = 0; i < 13; ++i) {
        add(armed("a", static_cast<float>(i), 100, 5));
        EXPECT_EQ(stack->getCount(), std::min(i + 1, 11));
    }
    EXPECT_EQ(stack->getItems().front()->getSourceValue(), 2);
    EXPECT_EQ(stack->getItems().back()->getSourceValue(), 12);
    for (int again = 0; again < 2; ++again) {
        stack->add(nullptr);
        EXPECT_EQ(stack->getCount(), 10);
    }
    EXPECT_FALSE(animators[2]->isFinished()) << "what is dropped is not stopped";
}

TEST_F(AnimatorStacks, DriveEachAnimatorAndDropItOnTheTickOnWhichItSettles) {
    add(armed("a", 0, 2, 2));
    add(armed("b", 0, 40, 4));
    logEverything();
    stack->interval = 0.5;
    stack->start();
    loop->advance(1);
    EXPECT_EQ(log, "frame:0 a0 frame:0 b0 frame:1 a1 frame:10 b10 ");
    log.clear();
    loop->advance(0.5);
    EXPECT_EQ(log, "frame:2 afinished:2 removed of 2:2 frame:20 b20 ");
    log.clear();
    loop->advance(1.5);
    EXPECT_EQ(log, "frame:30 b30 frame:40 bfinished:40 removed of 1:40 stack:0 ");
    EXPECT_FALSE(loop->nextDeadline()) << "a stack that reported its end has no timer";
}

TEST_F(AnimatorStacks, WithoutOnFinishedTickOnAndKeepWhatWasFinishedBefore) {
    add(armed("a", 0, 2, 2));
    animators[0]->stop();
    stack->start();
    loop->advance(0.1);
    EXPECT_FALSE(stack->animate());
    EXPECT_EQ(stack->getCount(), 1);
    EXPECT_TRUE(loop->nextDeadline());
    logEverything();
    loop->advance(0.1);
    EXPECT_EQ(log, "stack:1 ") << "once, and then reset";
    EXPECT_EQ(stack->getCount(), 0);
    EXPECT_FALSE(loop->nextDeadline());
}

TEST_F(AnimatorStacks, FinishTheTickOverItsSnapshotWhenACallbackResetsOrAdds) {
    auto& twice = armed("a", 0, 2, 2);
    auto& late = armed("late", 0, 2, 2);
    add(twice);
    add(twice);
    EXPECT_TRUE(stack->animate());
    EXPECT_TRUE(stack->animate());  // settles in the first place, which skips the second
    EXPECT_EQ(log, "a0 a1 afinished:2 ");
    EXPECT_EQ(stack->getCount(), 1);
    log.clear();
    add(armed("b", 0, 2, 2));
    add(armed("c", 0, 2, 2));
    stack->onAnimation = [&](AnimatorStack& s, Animator&) {
        s.reset();
        s.add(late.shared_from_this());
        s.onAnimation = nullptr;
    };
    EXPECT_TRUE(stack->animate());
    EXPECT_TRUE(stack->animate());
    EXPECT_EQ(log, "b0 c0 late0 ");
    add(armed("d", 0, 2, 0));
    stack->onAnimation = [](AnimatorStack& s, Animator&) { s.reset(); };
    EXPECT_DEATH((stack->animate(), stack->animate()), "finished animator is not in the list");
}

TEST_F(AnimatorStacks, AreHeldByTheirTimerUntilItEnds) {
    const std::weak_ptr<AnimatorStack> weak = stack;
    stack->start();
    stack = nullptr;
    EXPECT_FALSE(weak.expired());
    weak.lock()->onFinished = [](AnimatorStack&) {};
    loop->advance(0.0051);
    EXPECT_TRUE(weak.expired());
}

}  // namespace
