#include "animation/Animator.h"

#include "tests/animation/RecordingLoop.h"

namespace {

using enum qov::EnumEasing;
using qov::Animator;

class AnimatorRuns : public RecordingLoop {
 protected:
    static void animate(Animator& animator, int calls) {
        for (int i = 0; i < calls; ++i) animator.animate();
    }
};

TEST_F(AnimatorRuns, reportsTheValueBeforeEachFrameAndSettlesOnTheCallAfterTheLast) {
    auto& animator = armed("a", 0, 1, 4);
    animate(animator, 4);
    EXPECT_EQ(log, (Log{"a 0", "a 0.25", "a 0.5", "a 0.75"}));
    EXPECT_EQ(animator.getValue(), 1);
    EXPECT_FALSE(animator.isFinished());
    animate(animator, 3);
    EXPECT_EQ(log.back(), "a finished 1");
    EXPECT_EQ(log.size(), 5u);
    EXPECT_TRUE(animator.isFinished());
}

TEST_F(AnimatorRuns, withoutFramesOrDistanceFinishOnTheFirstCall) {
    auto& negative = armed("negative", 0, 3, -5);
    auto& still = armed("still", 2, 2, 100);
    EXPECT_FALSE(negative.isFinished());
    animate(negative, 2);
    animate(still, 2);
    negative.rewind();  // with -5 frames again
    EXPECT_EQ(negative.getValue(), 0);
    animate(negative, 2);
    EXPECT_EQ(log, (Log{"negative finished 3", "still finished 2", "negative finished 3"}));
}

TEST_F(AnimatorRuns, rewindsLinearlyWithTheFramesOfSetup) {
    auto& animator = armed("a", 0, 4, 4);
    animator.setType(EASING_easeInExpo);
    animate(animator, 5);
    animator.rewind();
    log.clear();
    animate(animator, 5);
    EXPECT_EQ(log, (Log{"a 0", "a 1", "a 2", "a 3", "a finished 4"}));
}

TEST_F(AnimatorRuns, reverseArmsTheWayBackFromTheOldDestination) {
    auto& animator = armed("a", 0, 4, 4);
    animate(animator, 2);
    animator.reverse();
    EXPECT_EQ(animator.getSourceValue(), 4);
    animate(animator, 5);
    EXPECT_EQ(log, (Log{"a 0", "a 1", "a 4", "a 3", "a 2", "a 1", "a finished 0"}));
    animator.reverse();  // a finished run leaves no frames
    animate(animator, 1);
    EXPECT_EQ(log.back(), "a finished 4");
}

TEST_F(AnimatorRuns, undoJumpsToTheDestination) {
    auto& animator = armed("a", 1, 5, 100);
    animate(animator, 1);
    animator.undo();
    EXPECT_EQ(log, (Log{"a 1", "a 1", "a finished 5"}));
    auto& idle = armed("idle", 2, 2, 9);
    idle.undo();
    EXPECT_EQ(log.back(), "idle finished 2");
    EXPECT_EQ(log.size(), 4u);
}

TEST_F(AnimatorRuns, loopedTurnRoundForEverUntilStopped) {
    auto& animator = armed("a", 0, 2, 2);
    animator.looped = true;
    animator.start();
    loop->advance(0.0901);  // three legs of three calls, 0.01 s apart
    EXPECT_EQ(log, (Log{"a 0", "a 1", "a loop", "a 2", "a 1", "a loop", "a 0", "a 1", "a loop"}));
    loop->advance(300);
    EXPECT_FALSE(animator.isFinished());
    log.clear();
    animator.stop();
    loop->advance(1);
    EXPECT_EQ(log, Log{});
    EXPECT_FALSE(animator.looped);
    EXPECT_TRUE(animator.isFinished());
}

TEST_F(AnimatorRuns, takeAFrameAPeriodAndEndTheTimerWithTheRun) {
    auto& animator = armed("a", 0, 2, 2);
    animator.start();
    loop->advance(0.005);
    EXPECT_EQ(log, Log{});
    loop->advance(0.0251);
    EXPECT_EQ(log, (Log{"a 0", "a 1", "a finished 2"}));
    EXPECT_FALSE(loop->nextDeadline()) << "the timer is still scheduled";
}

TEST_F(AnimatorRuns, startedTwiceTakeTwoFramesAPeriodAndLeaveOneTimerBehind) {
    auto& animator = armed("a", 0, 8, 8);
    animator.start();
    animator.start();
    loop->advance(0.0201);
    EXPECT_EQ(animator.getValue(), 4);
    animator.stop();
    EXPECT_TRUE(loop->nextDeadline()) << "the first timer fires on";
    animator.setup(0, 0.1f, 2, 0.01f, EASING_easeOutBounce);
    loop->advance(0.0301);
    EXPECT_EQ(animator.getValue(), 0.1f) << "where the curve does not end";
}

TEST_F(AnimatorRuns, keepTheirPeriodUntilTheNextStart) {
    auto& animator = armed("a", 0, 100, 100);
    animator.start();
    animator.setInterval(1);
    loop->advance(0.0201);
    EXPECT_EQ(animator.getValue(), 2);
    animator.rewind();  // 0.009 s, but not for the timer that runs
    loop->advance(0.0499);
    EXPECT_EQ(animator.getValue(), 5);
    animator.stop();
    animator.rewind();
    animator.start();
    loop->advance(0.0091);
    EXPECT_EQ(animator.getValue(), 1);
}

TEST_F(AnimatorRuns, waitOnTheTimerUntilTheyAreArmed) {
    animators.push_back(Animator::init());
    auto& idle = *animators.back();
    idle.start();
    loop->advance(1);
    idle.setup(0, 4, 4, 0.1f, EASING_easeNone);
    loop->advance(0.01);  // at the period of its start, 0.005 s
    EXPECT_EQ(idle.getValue(), 2);
}

/// What a callback may do to its own animator in the middle of a frame.
struct Reentrance {
    const char* name;
    const char* callback;
    std::function<void(Animator&)> act;
    std::vector<std::string> log;  // of seven calls, from 0 to 2 in 2 frames
    float value;
    bool looped = false;
};

class AnimatorReentrance : public AnimatorRuns, public testing::WithParamInterface<Reentrance> {};

TEST_P(AnimatorReentrance, followsTheNumbersThatTheCallbackLeaves) {
    const Reentrance& each = GetParam();
    auto& animator = armed("a", 0, 2, 2);
    animator.looped = each.looped;
    bool acted = false;
    const auto once = [&](const char* callback) {
        if (std::string_view(callback) != each.callback || acted) return;
        acted = true;
        each.act(animator);
    };
    animator.onAnimation = [&](Animator&, float v) { say(text(v)), once("animation"); };
    animator.onFinished = [&](Animator&, float v) { say("finished " + text(v)), once("finished"); };
    animator.onLoop = [&](Animator&) { say("loop"), once("loop"); };
    animate(animator, 7);
    EXPECT_EQ(log, each.log);
    EXPECT_EQ(animator.getValue(), each.value);
}

const Reentrance kReentrances[] = {
    {"setupInAFrame",
     "animation",
     [](Animator& a) { a.setup(10, 14, 4, 1, EASING_easeNone); },
     {"0", "11", "12", "13", "finished 14"},  // the frame under way is the first of the new run
     14},
    {"reverseInAFrame", "animation", &Animator::reverse, {"0", "1", "finished 0"}, 0},
    // the frame is taken with -1 frames, which is b - c
    {"stopInAFrame", "animation", &Animator::stop, {"0"}, -2},
    {"undoInAFrame", "animation", &Animator::undo, {"0", "0", "finished 2"}, -2},
    {"disposeInAFrame", "animation", &Animator::dispose, {"0"}, 0},
    {"rewindAtTheEnd",
     "finished",
     &Animator::rewind,
     {"0", "1", "finished 2", "0", "1", "finished 2"},
     2},
    {"reverseAtTheEnd", "finished", &Animator::reverse, {"0", "1", "finished 2", "finished 0"}, 0},
    {"stopAtTheTurn", "loop", &Animator::stop, {"0", "1", "loop", "finished 0"}, 0, true},
    {"disposeAndSetupInAFrame",
     "animation",
     [](Animator& a) { a.dispose(), a.setup(0, 1, 1, 1, EASING_easeNone); },
     {"0"},  // without the callbacks, which are gone
     1},
    {"disposeAtTheTurn", "loop", &Animator::dispose, {"0", "1", "loop"}, 2, true},
    {"emptyTheCallback",
     "animation",
     [](Animator& a) { a.onAnimation = nullptr; },
     {"0", "finished 2"},
     2},
};

INSTANTIATE_TEST_SUITE_P(All, AnimatorReentrance, testing::ValuesIn(kReentrances),
                         [](const auto& each) { return each.param.name; });

TEST_F(AnimatorRuns, areHeldByTheirTimerAndTheirCurveUntilTheyAreDisposedOf) {
    std::weak_ptr<Animator> weak = Animator::init(0, 1, 2, 0.01f, EASING_easeInQuad);
    EXPECT_FALSE(weak.expired()) << "the curve holds it";
    weak.lock()->start();
    weak.lock()->dispose();
    EXPECT_TRUE(weak.expired());
    {
        const qov::AnimatorOwner owner(Animator::init(0, 1, 2, 0.01f, EASING_easeInQuad));
        owner->start();
        weak = owner.get();
    }
    EXPECT_TRUE(weak.expired());
}

}  // namespace
