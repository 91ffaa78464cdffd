#include <cctype>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UILongPressGestureRecognizer.h"
#include "platform/uikit/UIPanGestureRecognizer.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace {

using namespace platform;

/// A window with all five gestures on one view, a pad in it, and a test clock.
class Gestures : public testing::Test {
 protected:
    Gestures() {
        window->addSubview(root);
        root->addSubview(pad);
        for (const auto& [text, event] : {std::pair{"down ", UIControlEventTouchDown},
                                          {"up ", UIControlEventTouchUpInside},
                                          {"cancel ", UIControlEventTouchCancel}})
            pad->addTarget([this, text = text](UIControl&) { touches += text; }, event);
        doubleTap->setNumberOfTapsRequired(2);
        tap->require(doubleTap);
        const auto show = [](auto... parts) {
            return ((std::ostringstream() << ... << parts)).str();
        };
        const auto place = [=](CGPoint p) { return show(p.x, ",", p.y); };
        listen(pan, "pan", [=, this] { return place(pan->translation(root.get())); });
        listen(pinch, "pinch", [=, this] {
            return show(pinch->scale(), " at ", place(pinch->location(root.get())));
        });
        listen(doubleTap, "double tap", [] { return ""; });
        listen(tap, "tap", [] { return ""; });
        listen(press, "press", [] { return ""; });
    }

    void listen(const std::shared_ptr<UIGestureRecognizer>& gesture, const std::string& what,
                const std::function<std::string()>& value) {
        root->addGestureRecognizer(gesture);
        gesture->addTarget([this, what, value](UIGestureRecognizer& sender) {
            constexpr const char* names[] = {"possible", "began",     "changed",
                                             "ended",    "cancelled", "failed"};
            seen += what + " " + names[static_cast<int>(sender.state())] + " " + value() + ";";
        });
    }

    /// Plays steps: d, m, u X Y (down, move, up; capitals for a second finger), w FACTOR (a step of
    /// the wheel), p X Y (a trackpad's pinch begins), + SECONDS, c (the window cancels), | (a mark
    /// in the log). Returns the log of the gestures.
    std::string play(const std::string& steps) {
        using enum UITouchPhase;
        static const std::map<char, UITouchPhase> phases{{'d', began}, {'m', moved}, {'u', ended}};
        std::istringstream in(steps);
        seen.clear();
        for (char step = 0; in >> step;) {
            CGFloat x = 0, y = 0;
            const auto phase = phases.find(static_cast<char>(std::tolower(step)));
            if (step == '|') seen += "|";
            if (step == 'c') window->cancelTouches();
            if (step == '+' && in >> x) loop->advance(x);
            if (step == 'w' && in >> x) window->deliverZoomStep({200, 150}, x, loop->now());
            if (step == 'p' && in >> x >> y) window->deliverPinch(began, {x, y}, 1, loop->now());
            if (phase != phases.end() && in >> x >> y)
                window->deliverTouch(std::isupper(step) ? 1 : 0, phase->second, {x, y},
                                     loop->now());
        }
        return seen;
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent current{loop};
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGSize{400, 300});
    std::string seen, touches;
    std::shared_ptr<UIView> root = std::make_shared<UIView>(window->bounds());
    std::shared_ptr<UIControl> pad = std::make_shared<UIControl>(CGRect(100, 100, 200, 100));
    std::shared_ptr<UIPanGestureRecognizer> pan = std::make_shared<UIPanGestureRecognizer>();
    std::shared_ptr<UIPinchGestureRecognizer> pinch = std::make_shared<UIPinchGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> tap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> doubleTap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UILongPressGestureRecognizer> press =
        std::make_shared<UILongPressGestureRecognizer>();
};

// One after the other on one window, so each also shows that the gestures are ready again.
TEST_F(Gestures, OfOneAndTwoFingersWheelAndTrackpad) {
    for (const auto& [name, steps, expected] : {
             std::tuple{"a drag begins beyond 10 points and reports the whole way",
                        "d150 150 m156 157 | m158 158 m250 170 u250 170",
                        "|pan began 8,8;pan changed 100,20;pan ended 100,20;"},
             {"a second finger does not make a drag jump",
              "d150 150 m170 150 D250 190 | M260 190 u170 150 | M261 191 U261 191",
              "pan began 20,0;|pan changed 25,0;|pan changed 26,1;pan ended 26,1;"},
             {"two fingers that open pinch and do not drag",
              "d190 150 D210 150 m185 150 | M215 150 M260 150 U260 150 m100 150 u100 150",
              "|pinch began 1.5 at 200,150;pinch changed 3.75 at 222.5,150;"
              "pinch ended 3.75 at 222.5,150;"},
             {"fingers on one spot pinch with a finite scale",
              "d200 150 D200 150 m194 150 M206 150 | u194 150 U206 150",
              "pinch began 12 at 200,150;|pinch ended 12 at 200,150;"},
             {"steps of the wheel are one pinch until the wheel rests",
              "w1.25 +0.2 w1.25 +0.2 | +0.1",
              "pinch began 1 at 200,150;pinch changed 1.25 at 200,150;"
              "pinch changed 1.5625 at 200,150;|pinch ended 1.5625 at 200,150;"},
             {"a tap is reported once the double tap has failed",
              "d150 150 +0.05 u150 150 +0.3 | +0.1", "|tap ended ;"},
             {"two taps are a double tap and no tap",
              "d150 150 +0.05 u150 150 +0.2 d153 149 +0.05 u153 149 +1", "double tap ended ;"},
             {"a tap far from the one before is another tap",
              "d110 110 +0.05 u110 110 +0.1 d190 190 +0.05 u190 190 +1", "tap ended ;tap ended ;"},
             {"a resting finger presses; no drag meanwhile, no tap after it",
              "d150 150 m157 157 +0.49 | +0.02 m200 150 u200 150 +1",
              "|press began ;press changed ;press ended ;"},
             {"a finger that strays does not press", "d150 150 m161 150 +1 u161 150",
              "pan began 11,0;pan ended 11,0;"},
             {"two resting fingers do not press", "d150 150 D180 150 +1 u150 150 U180 150 +1", ""},
             {"the window's cancel ends a drag, and later touches are ignored",
              "d150 150 m180 150 | c m190 150 u190 150", "pan began 30,0;|pan cancelled 30,0;"},
             {"a trackpad's pinch without an end is cancelled with the window's touches or by the "
              "next",
              "p200 150 c p200 150 p-1 -1",
              "pinch began 1 at 200,150;pinch cancelled 1 at 200,150;"
              "pinch began 1 at 200,150;pinch cancelled 1 at 200,150;"},
         })
        EXPECT_EQ(play(steps), expected) << name;
}

TEST_F(Gestures, LeaveTheViewItsTouchesAndStayOutWhenDisabled) {
    pan->setEnabled(false);
    EXPECT_EQ(play("d150 150 m200 150 D250 190 u200 150 d150 150 c m160 150"), "");
    EXPECT_EQ(touches, "down up down cancel ") << "one finger on the pad at a time";
}

TEST_F(Gestures, ButtonsKeepTapsAndSlidersDragsToThemselves) {
    auto button = std::make_shared<UIButton>(CGRect(0, 0, 40, 40));
    auto slider = std::make_shared<UISlider>(CGRect(0, 260, 220, 40));
    root->addSubview(button);
    root->addSubview(slider);
    button->addTarget([&](UIControl&) { seen += "inside;"; }, UIControlEventTouchUpInside);
    button->addTarget([&](UIControl&) { seen += "outside;"; }, UIControlEventTouchUpOutside);
    slider->addTarget([&](UIControl&) { seen += std::to_string(slider->value()) + ";"; },
                      UIControlEventValueChanged);
    EXPECT_EQ(play("d20 20 +0.05 u20 20 +1 d110 280 m160 280 m900 280 u900 280"),
              "inside;0.500000;0.750000;1.000000;");
    EXPECT_EQ(play("d20 20 m25 60 u25 60"), "pan began 5,40;pan ended 5,40;outside;");
    play("d20 20");
    EXPECT_TRUE(button->isHighlighted());
    play("c");
    EXPECT_FALSE(button->isHighlighted());
    button->setEnabled(false);
    EXPECT_EQ(play("d20 20 u20 20"), "");
}

}  // namespace
