// Fades a volume in over half a second and back again. The loop stands on a clock of its own, so
// the program does not wait; with platform::RunLoop::main() and run() it would.
#include <cstdio>

#include "animation/Animator.h"
#include "platform/dispatch/RunLoop.h"

int main() {
    const auto loop = platform::RunLoop::createForTest();
    const platform::RunLoop::MakeCurrent current(loop);

    // from 0 to 1 in 10 frames of 0.05 s
    const qov::AnimatorOwner fade(
        qov::Animator::init(0, 1, 10, 0.05F, qov::EnumEasing::EASING_easeInOutSine));
    fade->onAnimation = [](qov::Animator&, float volume) { std::printf("%.3f ", volume); };
    fade->onFinished = [there = true](qov::Animator& animator, float volume) mutable {
        std::printf("%.3f\n", volume);
        if (!there) return;
        there = false;
        animator.setup(volume, 0, 5, 0.05F, qov::EnumEasing::EASING_easeOutCubic);
        animator.start();
    };
    fade->start();
    loop->advance(2);
    return fade->isFinished() ? 0 : 1;
}
