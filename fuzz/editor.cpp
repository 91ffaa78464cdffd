// Any fingers, wheel and host on the editor, on a clock of the fuzzer's own: values stay in their
// range, the panel stays a place, and once every finger is up nothing is held any more.
//
// Input: the window's size in two bytes (half of its width first), then actions of five bytes: what
// (with a finger), place across and down (of 240 parts of the window, and somewhat beyond it), how
// much, and the time until the next.

#include <cmath>
#include <cstdint>
#include <memory>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/StereoControls.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UILongPressGestureRecognizer.h"
#include "platform/uikit/UIPanGestureRecognizer.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace {

using namespace qov;
using platform::CGSize;
using platform::UITouchPhase;

/// Few, for speed: the picture is not checked.
constexpr double pixelsPerPoint = 0.125;

class Editor {
 public:
    explicit Editor(CGSize size) : size_(size) {
        controller_->createAudioUnit(componentDescription, nullptr);
        loop_->pump();
        window_ = std::make_shared<platform::UIWindow>(size, pixelsPerPoint);
        window_->setRootViewController(controller_);
        window_->willDeliverTouch = [this](platform::UIView& touched, UITouchPhase phase) {
            const bool isPanel = &touched == controller_->stereoControls.get();
            if (isPanel && phase == UITouchPhase::began) window_->display(touched);
        };
        window_->update();
    }
    ~Editor() { loop_->end(); }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    void act(const std::uint8_t* bytes) {
        const int finger = bytes[0] & 3;
        const platform::CGPoint place{(bytes[1] - 8) / 240.0 * size_.width,
                                      (bytes[2] - 8) / 240.0 * size_.height};
        const int amount = bytes[3];
        const int action = bytes[0] >> 2 & 15;
        if (action < 10)
            return touch(finger,
                         action < 3   ? UITouchPhase::began
                         : action < 7 ? UITouchPhase::moved
                         : action < 9 ? UITouchPhase::ended
                                      : UITouchPhase::cancelled,
                         place);
        const auto tree = controller_->audioUnit()->parameterTree();
        switch (action) {
            case 10:
                return window_->deliverZoomStep(place, std::exp2((amount - 128) / 16.0),
                                                loop_->now());
            case 11:
                return tree->parameterWithAddress(amount % 8u)->setValue(bytes[1] / 255.0F);
            case 12:
                size_ = {1.0 + bytes[1] * 2, 1.0 + bytes[2]};
                return window_->setSize(size_);
            case 13:
                return window_->cancelTouches();
            case 14:
                if (amount < 16) window_->update();
                return;
            default:
                return window_->deliverPinch(static_cast<UITouchPhase>(finger % 5), place,
                                             amount / 64.0, loop_->now());
        }
    }
    /// So many 64ths of a second.
    void wait(std::uint8_t time) {
        loop_->advance(time / 64.0);
        check();
    }
    void liftAll() {
        window_->cancelTouches();
        loop_->advance(2);
        window_->update();
        check();
        require(!controller_->touchesLocked || !controller_->contrastButton->isHidden(),
                "a control holds a touch that is up");
        using Gestures = std::initializer_list<const platform::UIGestureRecognizer*>;
        for (const auto* gesture :
             Gestures{controller_->panGesture.get(), controller_->tapGesture.get(),
                      controller_->doubleTapGesture.get(), controller_->longPressGesture.get(),
                      controller_->pinchGesture.get()})
            require(gesture->touches().empty() && !gesture->isActive() && !gesture->isWaiting(),
                    "a gesture goes on without a touch");
    }

 private:
    void touch(int finger, UITouchPhase phase, platform::CGPoint place) {
        window_->deliverTouch(finger, phase, place, loop_->now());
    }
    void check() const {
        for (int address = 0; address < 8; ++address) {
            const float value = controller_->audioUnit()->getParameter(address);
            require(value >= 0 && value <= 1, "a value is out of range");
        }
        using Views = std::initializer_list<const platform::UIView*>;
        for (const auto* view :
             Views{controller_->stereoControls.get(), controller_->correlographView.get()}) {
            const auto [origin, size] = view->frame();
            require(!std::isnan(origin.x + origin.y + size.width + size.height),
                    "a view's frame is NaN");
        }
    }

    CGSize size_;
    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current_{loop_};
    std::shared_ptr<AudioUnitViewController> controller_ =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t action = 5, longest = 64 * action;
    if (size < 2) return -1;
    Editor editor({1.0 + data[0] * 2, 1.0 + data[1]});
    const auto* end = data + std::min(size, 2 + longest);
    for (data += 2; end - data >= static_cast<std::ptrdiff_t>(action); data += action) {
        editor.act(data);
        editor.wait(data[4]);
    }
    editor.liftAll();
    return 0;
}
