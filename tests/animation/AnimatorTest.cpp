#include "animation/Animator.h"

#include <cctype>

#include "tests/animation/RecordingLoop.h"

namespace {

using enum qov::EnumEasing;
using qov::Animator;

class Animators : public RecordingLoop {
 protected:
    static void act(Animator& a, char what) {
        if (std::isdigit(what)) {
            while (what-- > '0') a.animate();
        }
        switch (what) {
            case 'r':
                return a.reverse();
            case 'w':
                return a.rewind();
            case 'u':
                return a.undo();
            case 's':
                return a.stop();
            case 'd':
                return a.dispose();
            case 'l':
                a.looped = true;
                return;
            case 'e':
                return a.setType(EASING_easeInExpo);
            case 'i':
                return a.setInterval(1);
            case 'S':
                return a.start();
            case 'p':
                return a.setup(10, 14, 4, 0.01f, EASING_easeNone);
            case 'b':
                return a.setup(0, 0.1f, 2, 0.01f, EASING_easeOutBounce);
            case 'n':
                a.onAnimation = nullptr;
                return;
            case 'q':
                a.dispose(), a.setup(0, 1, 1, 1, EASING_easeNone);
        }
    }

    /// Plays steps: those above, a digit being so many calls of animate(); A, F, L and one of them:
    /// that one inside the next call of onAnimation, onFinished, onLoop; + SECONDS; c (clears the
    /// log); = (logs the value, and whether it is finished or a timer is there); | (a mark).
    std::string play(Animator& a, const std::string& steps) {
        std::istringstream in(steps);
        log.clear();
        const auto once = [&](auto& callback) {
            char what = 0;
            in >> what;
            callback = [before = callback, what, done = false](auto& sender,
                                                               auto... value) mutable {
                before(sender, value...);
                if (!std::exchange(done, true)) act(sender, what);
            };
        };
        for (char step = 0; in >> step;) {
            double seconds = 0;
            if (step == 'A') once(a.onAnimation);
            if (step == 'F') once(a.onFinished);
            if (step == 'L') once(a.onLoop);
            if (step == '+') in >> seconds;
            loop->advance(seconds);
            if (step == 'c') log.clear();
            if (step == '|') log += "| ";
            if (step == '=')
                say(std::string(loop->nextDeadline() ? "timer" : "") +
                        (a.isFinished() ? "done=" : "="),
                    a.getValue());
            act(a, step);
        }
        return log;
    }
};

TEST_F(Animators, RunReverseRewindLoopAndObeyTheirCallbacks) {
    struct Case {
        const char* name;
        float source, destination;
        int frames;
        const char *steps, *log;
    };
    for (const auto& [name, source, destination, frames, steps, expected] : {
             Case{"reports the value before each frame, settles on the call after the last", 0, 1,
                  4, "4=3=", "0 0.25 0.5 0.75 =1 finished:1 done=1 "},
             {"no frames: finishes on the first call, also when rewound", 0, 3, -5, "2w=2",
              "finished:3 =0 finished:3 "},
             {"no distance: finishes on the first call", 2, 2, 100, "2", "finished:2 "},
             {"rewinds linearly with the frames of setup", 0, 4, 4, "e5wc5", "0 1 2 3 finished:4 "},
             {"reverse arms the way back; a finished run leaves no frames", 0, 4, 4, "2r5r1",
              "0 1 4 3 2 1 finished:0 finished:4 "},
             {"undo jumps to the destination", 1, 5, 100, "1u", "1 1 finished:5 "},
             {"undo without distance", 2, 2, 9, "u", "finished:2 "},
             {"looped turns round for ever until stopped", 0, 2, 2,
              "lS+0.0901 | +300 c=s+1 =", "timer=2 done=2 "},
             {"each leg of a loop has a call for the turn", 0, 2, 2, "lS+0.0901 s",
              "0 1 loop 2 1 loop 0 1 loop "},
             {"stopped, looped is off", 0, 2, 2, "lsp5", "10 11 12 13 finished:14 "},
             {"a frame a period; the timer ends with the run", 0, 2, 2,
              "S+0.005 | +0.0251 =", "| 0 1 finished:2 done=2 "},
             {"keeps its period until the next start", 0, 100, 100,
              "Sni+0.0201 =w+0.0499 =swS+0.0091 =", "timer=2 timer=5 timer=1 "},
             // The frame under way is the first of the new run.
             {"setup in a frame", 0, 2, 2, "Ap7=", "0 11 12 13 finished:14 done=14 "},
             {"reverse in a frame", 0, 2, 2, "Ar7=", "0 1 finished:0 done=0 "},
             // The frame is taken with -1 frames, which is b - c.
             {"stop in a frame", 0, 2, 2, "As7=", "0 done=-2 "},
             {"undo in a frame", 0, 2, 2, "Au7=", "0 0 finished:2 done=-2 "},
             {"dispose in a frame", 0, 2, 2, "Ad7=", "0 done=0 "},
             {"rewind at the end", 0, 2, 2, "Fw7=", "0 1 finished:2 0 1 finished:2 done=2 "},
             {"reverse at the end", 0, 2, 2, "Fr7=", "0 1 finished:2 finished:0 done=0 "},
             {"stop at the turn", 0, 2, 2, "lLs7=", "0 1 loop finished:0 done=0 "},
             {"dispose and setup in a frame: without callbacks", 0, 2, 2, "Aq7=", "0 done=1 "},
             {"dispose at the turn", 0, 2, 2, "lLd7=", "0 1 loop done=2 "},
             {"the callback empties itself", 0, 2, 2, "An7=", "0 finished:2 done=2 "},
             // Last, as that timer fires on.
             {"started twice: two frames a period, and one timer stays behind", 0, 8, 8,
              "SSn+0.0201 =sb+0.0301 =", "timer=4 finished:0.1 timerdone=0.1 "},
         }) {
        auto& animator = armed("", source, destination, frames);
        EXPECT_EQ(play(animator, steps), expected) << name;
        animator.dispose();
        loop->advance(1);
    }
}

TEST_F(Animators, TickWithoutFramesUntilTheyAreArmedAndAreFreedWhenDisposed) {
    animators.push_back(Animator::init());
    auto& idle = *animators.back();
    idle.start();
    loop->advance(1);
    idle.setup(0, 4, 4, 0.1f, EASING_easeNone);
    loop->advance(0.01);  // at the period of its start, 0.005 s
    EXPECT_EQ(idle.getValue(), 2);

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
