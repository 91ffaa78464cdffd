// Any fingers, wheel and host on the editor, on a clock of the fuzzer's own: values stay in their
// range, every view keeps a place, and once every finger is up nothing is held any more.
//
// Input: the window's size in two bytes (half of its width first), then actions of five bytes: what
// (with a finger), place across and down (of 240 parts of the window, and somewhat beyond it), how
// much, and the time until the next in 64ths of a second.

#include <cmath>
#include <cstdint>
#include <memory>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/StereoControls.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace {

using platform::CGSize;
using platform::UITouchPhase;

/// Few, for speed: the picture is not checked.
constexpr double pixelsPerPoint = 0.125;

class Editor {
 public:
    explicit Editor(CGSize size) : size_(size) {
        controller_->createAudioUnit(qov::componentDescription, nullptr);
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

    void act(const std::uint8_t* bytes) {
        const int finger = bytes[0] & 3, action = bytes[0] >> 2 & 15, amount = bytes[3];
        const platform::CGPoint place{(bytes[1] - 8) / 240.0 * size_.width,
                                      (bytes[2] - 8) / 240.0 * size_.height};
        if (action < 10) {
            const auto phase = action < 3   ? UITouchPhase::began
                               : action < 7 ? UITouchPhase::moved
                               : action < 9 ? UITouchPhase::ended
                                            : UITouchPhase::cancelled;
            window_->deliverTouch(finger, phase, place, loop_->now());
        } else if (action == 10) {
            window_->deliverZoomStep(place, std::exp2((amount - 128) / 16.0), loop_->now());
        } else if (action == 11) {
            const auto tree = controller_->audioUnit()->parameterTree();
            tree->parameterWithAddress(amount % 8u)->setValue(bytes[1] / 255.0F);
        } else if (action == 12) {
            size_ = {1.0 + bytes[1] * 2, 1.0 + bytes[2]};
            window_->setSize(size_);
        } else if (action == 13) {
            window_->cancelTouches();
        } else if (action == 15) {
            window_->deliverPinch(static_cast<UITouchPhase>(finger), place, amount / 64.0,
                                  loop_->now());
        } else if (amount < 16) {
            window_->update();
        }
        loop_->advance(bytes[4] / 64.0);
        check();
    }
    void liftAll() {
        window_->cancelTouches();
        loop_->advance(2);
        window_->update();
        check();
        require(!controller_->touchesLocked || !controller_->contrastButton->isHidden(),
                "a control holds a touch that is up");
        for (const auto& gesture : controller_->view()->gestureRecognizers())
            require(gesture->touches().empty() && !gesture->isActive() && !gesture->isWaiting(),
                    "a gesture goes on without a touch");
    }

 private:
    void check() const {
        for (int address = 0; address < 8; ++address) {
            const float value = controller_->audioUnit()->getParameter(address);
            require(value >= 0 && value <= 1, "a value is out of range");
        }
        for (const auto& view : controller_->view()->subviews()) {
            const auto [origin, size] = view->frame();
            require(!std::isnan(origin.x + origin.y + size.width + size.height),
                    "a view's frame is NaN");
        }
    }

    CGSize size_;
    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current_{loop_};
    std::shared_ptr<qov::AudioUnitViewController> controller_ =
        std::make_shared<qov::AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return -1;
    Editor editor({1.0 + data[0] * 2, 1.0 + data[1]});
    for (std::size_t at = 2; at + 5 <= size && at < 2 + 64 * 5; at += 5) editor.act(data + at);
    editor.liftAll();
    return 0;
}
