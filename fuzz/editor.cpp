// Any fingers, wheel and host on the editor, on a clock of the fuzzer's own: values stay in their
// range, every view keeps a place, and once every finger is up nothing is held any more.
//
// Input: the window's size in two bytes (half of its width first), then actions of five bytes: what
// (with a finger), place across and down (of 240 parts of the window, and somewhat beyond it), how
// much, and the time until the next in 64ths of a second.

#include <cmath>
#include <cstdint>

#include "fuzz/require.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIGestureRecognizer.h"
#include "tests/editor/EditorRig.h"

namespace {

using platform::CGSize;
using platform::UITouchPhase;

/// Few, for speed: the picture is not checked.
constexpr double pixelsPerPoint = 0.125;

class Editor : qov::test::EditorRig {
 public:
    explicit Editor(CGSize size) : size_(size) {
        createAudioUnit();
        loop->pump();
        show(size, pixelsPerPoint);
        window->willDeliverTouch = [this](platform::UIView& touched, UITouchPhase phase) {
            const bool isPanel = &touched == controller->stereoControls.get();
            if (isPanel && phase == UITouchPhase::began) window->display(touched);
        };
    }

    void act(const std::uint8_t* bytes) {
        const int finger = bytes[0] & 3, action = bytes[0] >> 2 & 15, amount = bytes[3];
        const platform::CGPoint place{(bytes[1] - 8) / 240.0 * size_.width,
                                      (bytes[2] - 8) / 240.0 * size_.height};
        if (action < 10) {
            const auto phase = action < 3   ? UITouchPhase::began
                               : action < 7 ? UITouchPhase::moved
                               : action < 9 ? UITouchPhase::ended
                                            : UITouchPhase::cancelled;
            window->deliverTouch(finger, phase, place, loop->now());
        } else if (action == 10) {
            window->deliverZoomStep(place, std::exp2((amount - 128) / 16.0), loop->now());
        } else if (action == 11) {
            const auto tree = controller->audioUnit()->parameterTree();
            tree->parameterWithAddress(amount % 8u)->setValue(bytes[1] / 255.0F);
        } else if (action == 12) {
            size_ = {1.0 + bytes[1] * 2, 1.0 + bytes[2]};
            window->setSize(size_);
        } else if (action == 13) {
            window->cancelTouches();
        } else if (action == 15) {
            window->deliverPinch(static_cast<UITouchPhase>(finger), place, amount / 64.0,
                                 loop->now());
        } else if (amount < 16) {
            window->update();
        }
        loop->advance(bytes[4] / 64.0);
        check();
    }
    void liftAll() {
        window->cancelTouches();
        settle(2);
        check();
        require(!controller->touchesLocked || !controller->contrastButton->isHidden(),
                "a control holds a touch that is up");
        for (const auto& gesture : controller->view()->gestureRecognizers())
            require(gesture->touches().empty() && !gesture->isActive() && !gesture->isWaiting(),
                    "a gesture goes on without a touch");
    }

 private:
    void check() const {
        for (int address = 0; address < 8; ++address) {
            require(parameter(address) >= 0 && parameter(address) <= 1, "a value is out of range");
        }
        for (const auto& view : controller->view()->subviews()) {
            const auto [origin, size] = view->frame();
            require(!std::isnan(origin.x + origin.y + size.width + size.height),
                    "a view's frame is NaN");
        }
    }

    CGSize size_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return -1;
    Editor editor({1.0 + data[0] * 2, 1.0 + data[1]});
    for (std::size_t at = 2; at + 5 <= size && at < 2 + 64 * 5; at += 5) editor.act(data + at);
    editor.liftAll();
    return 0;
}
