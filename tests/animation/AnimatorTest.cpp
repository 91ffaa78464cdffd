#include <cctype>
#include <map>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "animation/Animator.h"
#include "animation/AnimatorStack.h"
#include "platform/dispatch/RunLoop.h"

namespace {

using qov::Animator;
using qov::AnimatorStack;
using enum qov::EnumEasing;

/// A run loop on a test clock, a log of the callbacks, and the animators of the test, all of which
/// must be gone once they are disposed of and the loop has ended.
class Animators : public testing::Test {
 protected:
    ~Animators() override {
        loop->end();
        stack = nullptr;
        for (const auto& animator : animators) animator->dispose();
        animators.clear();
        EXPECT_EQ(Animator::animatorInstanceCount(), 0) << "an animator is held by something";
    }

    /// An armed linear animator, 0.01 s a frame, that logs "NAME0.25", "NAMEfinished:1" and
    /// "NAMEloop".
    std::shared_ptr<Animator> armed(const std::string& name, float source, float destination,
                                    std::int64_t frames) {
        auto animator = Animator::init(source, destination, frames, 0.01f, EASING_easeNone);
        animator->onAnimation = [=, this](auto&, float value) { say(name, value); };
        animator->onFinished = [=, this](auto&, float value) { say(name, "finished:", value); };
        animator->onLoop = [=, this](auto&) { say(name, "loop"); };
        return animators.emplace_back(animator);
    }
    void say(const auto&... parts) {
        std::ostringstream text;
        (text << ... << parts) << " ";
        log += text.str();
    }
    std::string taken() { return std::exchange(log, {}); }

    /// Plays steps: those below; digits for so many calls of animate(); A, F, L and a step: that
    /// step inside the next call of onAnimation, onFinished, onLoop; + SECONDS; = (logs the value,
    /// and whether it is finished or a timer is there); | (a mark).
    std::string play(Animator& animator, const std::string& steps) {
        static const std::map<char, std::function<void(Animator&)>> actions{
            {'r', &Animator::reverse},
            {'w', &Animator::rewind},
            {'u', &Animator::undo},
            {'s', &Animator::stop},
            {'S', &Animator::start},
            {'d', &Animator::dispose},
            {'l', [](auto& a) { a.looped = true; }},
            {'n', [](auto& a) { a.onAnimation = nullptr; }},
            {'e', [](auto& a) { a.setType(EASING_easeInExpo); }},
            {'i', [](auto& a) { a.setInterval(1); }},
            {'p', [](auto& a) { a.setup(10, 14, 4, 0.01f, EASING_easeNone); }},
            {'b', [](auto& a) { a.setup(0, 0.1f, 2, 0.01f, EASING_easeOutBounce); }}};
        std::istringstream in(steps);
        const auto once = [&](auto& callback) {
            char what = 0;
            in >> what;
            callback = [before = callback, what, done = false](auto& sender,
                                                               auto... value) mutable {
                before(sender, value...);
                if (!std::exchange(done, true)) actions.at(what)(sender);
            };
        };
        for (char step = 0; in >> step;) {
            double seconds = 0;
            if (step == 'A') once(animator.onAnimation);
            if (step == 'F') once(animator.onFinished);
            if (step == 'L') once(animator.onLoop);
            if (step == '+') in >> seconds;
            loop->advance(seconds);
            if (step == '|') say("|");
            if (step == '=')
                say(loop->nextDeadline() ? "timer" : "", animator.isFinished() ? "done=" : "=",
                    animator.getValue());
            while (std::isdigit(step) && step-- > '0') animator.animate();
            if (actions.contains(step)) actions.at(step)(animator);
        }
        return taken();
    }

    void logStack() {
        stack->onAnimation = [this](auto&, Animator& a) { say("frame:", a.getValue()); };
        stack->onFinished = [this](AnimatorStack& s) { say("left", s.getCount()); };
        stack->onRemovedItem = [this](AnimatorStack& s, Animator& a) {
            say("removed of ", s.getCount() + 1, ":", a.getValue());
        };
    }

    std::string log;
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::vector<std::shared_ptr<Animator>> animators;
    std::shared_ptr<AnimatorStack> stack = AnimatorStack::init();
};

TEST_F(Animators, RunReverseRewindLoopAndObeyTheirCallbacks) {
    for (const auto& [name, source, destination, frames, steps, expected] : {
             std::tuple{"reports the value before each frame, settles on the call after the last",
                        0.0F, 1.0F, 4, "4=3=", "0 0.25 0.5 0.75 =1 finished:1 done=1 "},
             {"no frames: finishes on the first call, also when rewound", 0, 3, -5, "2w=2",
              "finished:3 =0 finished:3 "},
             {"no distance: finishes on the first call", 2, 2, 100, "2", "finished:2 "},
             {"rewinds linearly with the frames of setup", 0, 4, 4, "e5|w5",
              "0 0.0220971 0.125 0.707107 finished:4 | 0 1 2 3 finished:4 "},
             {"reverse arms the way back; a finished run leaves no frames", 0, 4, 4, "2r5r1",
              "0 1 4 3 2 1 finished:0 finished:4 "},
             {"undo jumps to the destination", 1, 5, 100, "1u", "1 1 finished:5 "},
             {"undo without distance", 2, 2, 9, "u", "finished:2 "},
             {"looped turns round for ever until stopped; each leg has a call for the turn", 0, 2,
              2, "lS+0.0901=s+1=", "0 1 loop 2 1 loop 0 1 loop timer=2 done=2 "},
             {"stopped, looped is off", 0, 2, 2, "lsp5", "10 11 12 13 finished:14 "},
             {"a frame a period; the timer ends with the run", 0, 2, 2,
              "S+0.005 | +0.0251 =", "| 0 1 finished:2 done=2 "},
             {"keeps its period until the next start", 0, 100, 100,
              "Sni+0.0201 =w+0.0499 =swS+0.0091 =", "timer=2 timer=5 timer=1 "},
             // The frame under way is the first of the new run.
             {"setup in a frame", 0, 2, 2, "Ap7=", "0 11 12 13 finished:14 done=14 "},
             // The frame is taken with -1 frames, which is b - c.
             {"stop in a frame", 0, 2, 2, "As7=", "0 done=-2 "},
             {"dispose in a frame", 0, 2, 2, "Ad7=", "0 done=0 "},
             {"rewind at the end", 0, 2, 2, "Fw7=", "0 1 finished:2 0 1 finished:2 done=2 "},
             {"reverse at the end", 0, 2, 2, "Fr7=", "0 1 finished:2 finished:0 done=0 "},
             {"stop at the turn", 0, 2, 2, "lLs7=", "0 1 loop finished:0 done=0 "},
             {"dispose at the turn", 0, 2, 2, "lLd7=", "0 1 loop done=2 "},
             {"the callback empties itself", 0, 2, 2, "An7=", "0 finished:2 done=2 "},
             // Last, as that timer fires on.
             {"started twice: two frames a period, and one timer stays behind", 0, 8, 8,
              "SSn+0.0201 =sb+0.0301 =", "timer=4 finished:0.1 timerdone=0.1 "},
         }) {
        const auto animator = armed("", source, destination, frames);
        EXPECT_EQ(play(*animator, steps), expected) << name;
        animator->dispose();
        loop->advance(1);
    }
}

TEST_F(Animators, TickWithoutFramesUntilTheyAreArmedAndAreFreedWhenDisposed) {
    auto& idle = *animators.emplace_back(Animator::init());
    idle.start();
    loop->advance(1);
    idle.setup(0, 4, 4, 0.1f, EASING_easeNone);
    loop->advance(0.01);  // at the period of its start, 0.005 s
    EXPECT_EQ(idle.getValue(), 2);

    std::weak_ptr<Animator> weak = Animator::init(0, 1, 2, 0.01f, EASING_easeInQuad);
    EXPECT_FALSE(weak.expired()) << "the curve holds it";
    qov::AnimatorOwner(weak.lock())->start();
    EXPECT_TRUE(weak.expired());
}

TEST_F(Animators, AStackKeepsTheLastEleven) {
    for (int i = 0; i < 13; ++i) stack->add(armed("a", static_cast<float>(i), 100, 5));
    EXPECT_EQ(stack->getItems().front(), animators[2]);
    EXPECT_FALSE(animators[0]->isFinished()) << "what is dropped is not stopped";
    for (const int count : {11, 10, 10}) {
        EXPECT_EQ(stack->getCount(), count);
        stack->add(nullptr);
    }
}

TEST_F(Animators, AStackDrivesEachAndDropsItOnTheTickOnWhichItSettles) {
    stack->add(armed("a", 0, 2, 2));
    stack->add(armed("b", 0, 40, 4));
    logStack();
    stack->interval = 0.5;
    stack->start();
    loop->advance(1.5);
    EXPECT_EQ(taken(),
              "frame:0 a0 frame:0 b0 frame:1 a1 frame:10 b10 "
              "frame:2 afinished:2 removed of 2:2 frame:20 b20 ");
    loop->advance(1.5);
    EXPECT_EQ(taken(), "frame:30 b30 frame:40 bfinished:40 removed of 1:40 left0 ");
    EXPECT_FALSE(loop->nextDeadline()) << "a stack that reported its end has no timer";
}

TEST_F(Animators, AStackWithoutOnFinishedTicksOnAndKeepsWhatWasFinishedBefore) {
    stack->add(armed("a", 0, 2, 2));
    animators[0]->stop();
    stack->start();
    loop->advance(0.1);
    EXPECT_FALSE(stack->animate());
    EXPECT_EQ(stack->getCount(), 1);
    logStack();
    const std::weak_ptr<AnimatorStack> weak = std::exchange(stack, nullptr);
    ASSERT_FALSE(weak.expired()) << "the timer holds it";
    loop->advance(0.1);
    EXPECT_EQ(log, "left1 ") << "once, and then reset";
    EXPECT_TRUE(weak.expired());
}

TEST_F(Animators, AStackFinishesTheTickOverItsSnapshotWhenACallbackResetsOrAdds) {
    const auto twice = armed("a", 0, 2, 2);
    stack->add(twice);
    stack->add(twice);
    EXPECT_TRUE(stack->animate() && stack->animate());  // settles in the first place, once
    EXPECT_EQ(taken(), "a0 a1 afinished:2 ");
    EXPECT_EQ(stack->getCount(), 1);
    stack->add(armed("b", 0, 2, 2));
    stack->add(armed("c", 0, 2, 2));
    stack->onAnimation = [late = armed("late", 0, 2, 2)](AnimatorStack& s, Animator&) {
        s.reset();
        s.add(late);
        s.onAnimation = nullptr;
    };
    EXPECT_TRUE(stack->animate() && stack->animate());
    EXPECT_EQ(taken(), "b0 c0 late0 ");
    stack->add(armed("d", 0, 2, 0));
    stack->onAnimation = [](AnimatorStack& s, Animator&) { s.reset(); };
    EXPECT_DEATH((stack->animate(), stack->animate()), "finished animator is not in the list");
}

}  // namespace
