#include "animation/AnimatorStack.h"

#include "tests/animation/RecordingLoop.h"

namespace {

using qov::Animator;
using qov::AnimatorStack;

class AnimatorStacks : public RecordingLoop {
 protected:
    void add(Animator& animator) { stack->add(animator.shared_from_this()); }

    void sayEverything() {
        stack->onAnimation = [this](auto&, Animator& a) { say("frame at " + text(a.getValue())); };
        stack->onFinished = [this](AnimatorStack& s) {
            say("stack finished with " + std::to_string(s.getCount()));
        };
        stack->onRemovedItem = [this](AnimatorStack& s, Animator& a) {
            say("removed " + text(a.getValue()) + " of " + std::to_string(s.getCount() + 1));
        };
    }

    std::shared_ptr<AnimatorStack> stack = AnimatorStack::init();
};

TEST_F(AnimatorStacks, keepTheLastEleven) {
    for (int i = 0; i < 13; ++i) {
        add(armed("a", static_cast<float>(i), 100, 5));
        EXPECT_LE(stack->getCount(), 11);
    }
    EXPECT_EQ(stack->getCount(), 11);
    EXPECT_EQ(stack->getItems().front()->getSourceValue(), 2);
    EXPECT_EQ(stack->getItems().back()->getSourceValue(), 12);
    stack->add(nullptr);
    EXPECT_EQ(stack->getCount(), 10);
    EXPECT_FALSE(animators[2]->isFinished()) << "what is dropped is not stopped";
    stack->add(nullptr);
    EXPECT_EQ(stack->getCount(), 10);
}

TEST_F(AnimatorStacks, driveEachAnimatorAndDropItOnTheTickOnWhichItSettles) {
    add(armed("a", 0, 2, 2));
    add(armed("b", 0, 40, 4));
    sayEverything();
    stack->interval = 0.5;
    stack->start();
    loop->advance(1);
    EXPECT_EQ(log, (Log{"frame at 0", "a 0", "frame at 0", "b 0",  //
                        "frame at 1", "a 1", "frame at 10", "b 10"}));
    log.clear();
    loop->advance(0.5);
    EXPECT_EQ(log, (Log{"frame at 2", "a finished 2", "removed 2 of 2", "frame at 20", "b 20"}));
    log.clear();
    loop->advance(1.5);
    EXPECT_EQ(log, (Log{"frame at 30", "b 30", "frame at 40", "b finished 40", "removed 40 of 1",
                        "stack finished with 0"}));
    EXPECT_FALSE(loop->nextDeadline()) << "a stack that reported its end has no timer";
}

TEST_F(AnimatorStacks, withoutOnFinishedTickOnAndKeepWhatWasFinishedBefore) {
    add(armed("a", 0, 2, 2));
    animators[0]->stop();
    stack->start();
    loop->advance(0.1);
    EXPECT_FALSE(stack->animate());
    EXPECT_EQ(stack->getCount(), 1);
    EXPECT_TRUE(loop->nextDeadline());
    sayEverything();
    loop->advance(0.1);
    EXPECT_EQ(log, (Log{"stack finished with 1"})) << "once, and then reset";
    EXPECT_EQ(stack->getCount(), 0);
    EXPECT_FALSE(loop->nextDeadline());
}

TEST_F(AnimatorStacks, takeAFrameForEachTimeAnAnimatorWasAdded) {
    auto& twice = armed("a", 0, 2, 2);
    add(twice);
    add(twice);
    EXPECT_TRUE(stack->animate());
    EXPECT_TRUE(stack->animate());  // settles in the first place, which skips the second
    EXPECT_EQ(log, (Log{"a 0", "a 1", "a finished 2"}));
    EXPECT_EQ(stack->getCount(), 1);
}

TEST_F(AnimatorStacks, finishTheTickOverItsSnapshotWhenACallbackResetsOrAdds) {
    add(armed("a", 0, 2, 2));
    add(armed("b", 0, 2, 2));
    auto& late = armed("late", 0, 2, 2);
    stack->onAnimation = [&](AnimatorStack& s, Animator&) {
        s.reset();
        s.add(late.shared_from_this());
        s.onAnimation = nullptr;
    };
    EXPECT_TRUE(stack->animate());
    EXPECT_EQ(log, (Log{"a 0", "b 0"}));
    EXPECT_TRUE(stack->animate());
    EXPECT_EQ(log.back(), "late 0");
}

TEST_F(AnimatorStacks, areHeldByTheirTimerUntilItEnds) {
    const std::weak_ptr<AnimatorStack> weak = stack;
    stack->start();
    stack = nullptr;
    EXPECT_FALSE(weak.expired());
    weak.lock()->onFinished = [](AnimatorStack&) {};
    loop->advance(0.0051);
    EXPECT_TRUE(weak.expired());
}

TEST_F(AnimatorStacks, cannotRemoveWhatACallbackHasTakenAway) {
    add(armed("a", 0, 2, 0));
    stack->onAnimation = [](AnimatorStack& s, Animator&) { s.reset(); };
    EXPECT_DEATH(stack->animate(), "finished animator is not in the list");
}

}  // namespace
