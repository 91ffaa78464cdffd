// Drops a ball in a window and writes the two seconds as an animated GIF.
// usage: animated_view OUT.gif
#include <gif_lib.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "animation/Animator.h"
#include "animation/AnimatorStack.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"
#include "platform/uikit/UIWindow.h"

namespace {

constexpr int kWidth = 320, kHeight = 180, kFramesPerSecond = 25, kSeconds = 2;

class Ball : public platform::UIView {
 public:
    using UIView::UIView;
    void draw(platform::CGRect rect) override {
        platform::UIColor(1, 0.69, 0.126, 1).setFill();
        platform::UIBezierPath::ovalInRect(rect).fill();
    }
};

/// A GIF of black to amber: 64 steps between the two colours that the window has.
class AmberGif {
 public:
    explicit AmberGif(const char* path) {
        GifColorType colors[kColors];
        for (int i = 0; i < kColors; ++i)
            colors[i] = {static_cast<GifByteType>(17 + (255 - 17) * i / (kColors - 1)),
                         static_cast<GifByteType>(18 + (176 - 18) * i / (kColors - 1)),
                         static_cast<GifByteType>(21 + (32 - 21) * i / (kColors - 1))};
        map_ = GifMakeMapObject(kColors, colors);
        int error = 0;
        file_ = EGifOpenFileName(path, false, &error);
        if (!file_) return;
        EGifSetGifVersion(file_, true);
        good_ = EGifPutScreenDesc(file_, kWidth, kHeight, 6, 0, map_) != GIF_ERROR;
        unsigned char forEver[] = {1, 0, 0};
        good_ = good_ && EGifPutExtensionLeader(file_, APPLICATION_EXT_FUNC_CODE) != GIF_ERROR &&
                EGifPutExtensionBlock(file_, 11, "NETSCAPE2.0") != GIF_ERROR &&
                EGifPutExtensionBlock(file_, sizeof forEver, forEver) != GIF_ERROR &&
                EGifPutExtensionTrailer(file_) != GIF_ERROR;
    }

    void add(const platform::CGBitmapContext& picture) {
        const GraphicsControlBlock control{DISPOSE_DO_NOT, false, 100 / kFramesPerSecond,
                                           NO_TRANSPARENT_COLOR};
        GifByteType block[4];
        EGifGCBToExtension(&control, block);
        good_ = good_ &&
                EGifPutExtension(file_, GRAPHICS_EXT_FUNC_CODE, sizeof block, block) != GIF_ERROR &&
                EGifPutImageDesc(file_, 0, 0, kWidth, kHeight, false, nullptr) != GIF_ERROR;
        std::vector<GifByteType> indices;
        for (const std::uint32_t pixel : picture.pixels()) {
            const int red = static_cast<int>(pixel >> 16 & 0xFF);
            indices.push_back(
                static_cast<GifByteType>(((red - 17) * (kColors - 1) + 119) / (255 - 17)));
        }
        good_ = good_ && EGifPutLine(file_, indices.data(), kWidth * kHeight) != GIF_ERROR;
    }

    bool close() {
        int error = 0;
        if (file_) good_ = EGifCloseFile(file_, &error) != GIF_ERROR && good_;
        GifFreeMapObject(map_);
        return file_ && good_;
    }

 private:
    static constexpr int kColors = 64;
    ColorMapObject* map_ = nullptr;
    GifFileType* file_ = nullptr;
    bool good_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fprintf(stderr, "usage: animated_view OUT.gif\n"), 2;
    const auto loop = platform::RunLoop::createForTest();
    const platform::RunLoop::MakeCurrent current(loop);

    const auto window = std::make_shared<platform::UIWindow>(platform::CGSize{kWidth, kHeight});
    window->setBackgroundColor({17 / 255.0, 18 / 255.0, 21 / 255.0, 1});
    const auto ball = std::make_shared<Ball>(platform::CGRect{0, 0, 28, 28});
    window->addSubview(ball);

    // Two animators on one clock: across at an even pace, down with bounces.
    constexpr int kSteps = kFramesPerSecond * kSeconds;
    using enum qov::EnumEasing;
    const qov::AnimatorOwner across(qov::Animator::init(20, 272, kSteps, 0, EASING_easeNone));
    const qov::AnimatorOwner down(qov::Animator::init(12, 140, kSteps, 0, EASING_easeOutBounce));
    const auto stack = qov::AnimatorStack::init();
    stack->interval = 1.0F / kFramesPerSecond;
    stack->add(across.get());
    stack->add(down.get());
    stack->onAnimation = [&](qov::AnimatorStack&, qov::Animator&) {
        ball->setFrame({across->getValue(), down->getValue(), 28, 28});
    };
    stack->onFinished = [](qov::AnimatorStack&) {};  // ends the timer
    stack->start();

    AmberGif gif(argv[1]);
    for (int frame = 0; frame < kSteps; ++frame) {
        loop->advance(1.0 / kFramesPerSecond);
        window->update();
        gif.add(*window->picture());
    }
    loop->advance(1);
    if (stack->getCount() != 0) return std::fprintf(stderr, "the ball still moves\n"), 1;
    if (!gif.close()) return std::fprintf(stderr, "%s: cannot be written\n", argv[1]), 1;
    return 0;
}
