#include <cctype>
#include <memory>
#include <sstream>
#include <string>

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

/// Logs the touches that it receives.
class Pad : public UIView {
 public:
    Pad(CGRect frame, std::string& log) : UIView(frame), log_(log) {}
    void touchesBegan(const UITouchSet&, UIEvent*) override { log_ += "down "; }
    void touchesMoved(const UITouchSet&, UIEvent*) override { log_ += "move "; }
    void touchesEnded(const UITouchSet&, UIEvent*) override { log_ += "up "; }
    void touchesCancelled(const UITouchSet&, UIEvent*) override { log_ += "cancel "; }

 private:
    std::string& log_;
};

/// A window with all five gestures on one view, a pad in it, and a test clock.
class Gestures : public testing::Test {
 protected:
    Gestures() {
        window->addSubview(root);
        root->addSubview(pad);
        doubleTap->setNumberOfTapsRequired(2);
        tap->require(doubleTap);
        listen(pan, "pan", [this] { return place(pan->translation(root.get())); });
        listen(pinch, "pinch", [this] {
            return (std::ostringstream() << pinch->scale()).str() + " at " +
                   place(pinch->location(root.get()));
        });
        for (const auto& [gesture, what] :
             {std::pair<std::shared_ptr<UIGestureRecognizer>, const char*>{doubleTap, "double tap"},
              {tap, "tap"},
              {press, "press"}})
            listen(gesture, what, [] { return std::string(); });
    }

    static std::string place(CGPoint p) {
        return (std::ostringstream() << p.x << "," << p.y).str();
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

    /// Plays steps: d, m, u X Y (down, move, up; capitals for a second finger), t X Y (a tap),
    /// w FACTOR (a step of the wheel), p X Y (a trackpad's pinch begins), + SECONDS, c (the window
    /// cancels), | (a mark in the log). Returns the log of the gestures.
    std::string play(const std::string& steps) {
        std::istringstream in(steps);
        seen.clear();
        const auto touch = [&](UITouchPhase phase, CGPoint at, int finger = 0) {
            window->deliverTouch(finger, phase, at, loop->now());
        };
        for (char step = 0; in >> step;) {
            CGFloat x = 0, y = 0;
            if (std::string_view("|c").find(step) == std::string_view::npos) in >> x;
            if (std::string_view("dmuDMUtp").find(step) != std::string_view::npos) in >> y;
            const int finger = std::isupper(step) ? 1 : 0;
            switch (std::tolower(step)) {
                case '|':
                    seen += "|";
                    break;
                case '+':
                    loop->advance(x);
                    break;
                case 'c':
                    window->cancelTouches();
                    break;
                case 'w':
                    window->deliverZoomStep({200, 150}, x, loop->now());
                    break;
                case 'p':
                    window->deliverPinch(UITouchPhase::began, {x, y}, 1, loop->now());
                    break;
                case 'd':
                    touch(UITouchPhase::began, {x, y}, finger);
                    break;
                case 'm':
                    touch(UITouchPhase::moved, {x, y}, finger);
                    break;
                case 'u':
                    touch(UITouchPhase::ended, {x, y}, finger);
                    break;
                case 't':
                    touch(UITouchPhase::began, {x, y});
                    loop->advance(0.05);
                    touch(UITouchPhase::ended, {x, y});
            }
        }
        return seen;
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent current{loop};
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGSize{400, 300});
    std::string seen, touches;
    std::shared_ptr<UIView> root = std::make_shared<UIView>(window->bounds());
    std::shared_ptr<Pad> pad = std::make_shared<Pad>(CGRect(100, 100, 200, 100), touches);
    std::shared_ptr<UIPanGestureRecognizer> pan = std::make_shared<UIPanGestureRecognizer>();
    std::shared_ptr<UIPinchGestureRecognizer> pinch = std::make_shared<UIPinchGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> tap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> doubleTap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UILongPressGestureRecognizer> press =
        std::make_shared<UILongPressGestureRecognizer>();
};

struct Case {
    const char *name, *steps, *seen;
};

// One after the other on one window, so each also shows that the gestures are ready again.
TEST_F(Gestures, OfOneAndTwoFingersWheelAndTrackpad) {
    for (const auto& [name, steps, expected] : {
             Case{"a drag begins beyond 10 points and reports the whole way",
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
             {"the next step begins another, from 1 on", "w0.5 | +1",
              "pinch began 1 at 200,150;pinch changed 0.5 at 200,150;|"
              "pinch ended 0.5 at 200,150;"},
             {"a tap is reported once the double tap has failed", "t150 150 +0.3 | +0.1",
              "|tap ended ;"},
             {"two taps are a double tap and no tap", "t150 150 +0.2 t153 149 +1",
              "double tap ended ;"},
             {"a tap far from the one before is another tap", "t110 110 +0.1 t190 190 +1",
              "tap ended ;tap ended ;"},
             {"a drag after a tap is a drag and a tap",
              "t150 150 +0.1 d150 150 m180 150 u180 150 +1",
              "pan began 30,0;tap ended ;pan ended 30,0;"},
             {"a resting finger presses; no drag meanwhile, no tap after it",
              "d150 150 m157 157 +0.49 | +0.02 m200 150 u200 150 +1",
              "|press began ;press changed ;press ended ;"},
             {"a finger that strays does not press", "d150 150 m161 150 +1 u161 150",
              "pan began 11,0;pan ended 11,0;"},
             {"two resting fingers do not press", "d150 150 D180 150 +1 u150 150 U180 150 +1", ""},
             {"the window's cancel ends a drag, and later touches are ignored",
              "d150 150 m180 150 | c m190 150 u190 150", "pan began 30,0;|pan cancelled 30,0;"},
             {"a trackpad's pinch without an end is cancelled with the window's touches",
              "p200 150 c d150 150 m180 150 u180 150",
              "pinch began 1 at 200,150;pinch cancelled 1 at 200,150;pan began 30,0;pan ended "
              "30,0;"},
             {"or by the next pinch, also outside all views",
              "p200 150 p-1 -1 d150 150 m180 150 u180 150",
              "pinch began 1 at 200,150;pinch cancelled 1 at 200,150;pan began 30,0;pan ended "
              "30,0;"},
         })
        EXPECT_EQ(play(steps), expected) << name;
}

TEST_F(Gestures, LeaveTheViewItsTouchesAndStayOutWhenDisabled) {
    pan->setEnabled(false);
    EXPECT_EQ(play("d150 150 m200 150 D250 190 u200 150 d150 150 c m160 150"), "");
    EXPECT_EQ(touches, "down move up down cancel ") << "one finger on the pad at a time";
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
    EXPECT_EQ(play("t20 20 +1 d110 280 m160 280 m900 280 u900 280"),
              "inside;0.500000;0.750000;1.000000;");
    EXPECT_EQ(play("d20 20 m25 60 u25 60"), "pan began 5,40;pan ended 5,40;outside;");
    play("d20 20");
    EXPECT_TRUE(button->isHighlighted());
    play("c");
    button->touchesMoved({std::make_shared<UITouch>(button, CGPoint{20, 20}, 0)}, nullptr);
    EXPECT_FALSE(button->isHighlighted()) << "of a touch that is no longer its own";
    button->setEnabled(false);
    EXPECT_EQ(play("t20 20"), "");
    slider->setValue(std::nanf(""));
    EXPECT_EQ(slider->value(), 0.0F);
}

}  // namespace
