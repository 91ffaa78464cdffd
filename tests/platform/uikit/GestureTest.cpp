#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
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
using testing::ElementsAre;
using testing::IsEmpty;

const char* name(UIGestureRecognizerState state) {
    constexpr const char* names[] = {"possible", "began",     "changed",
                                     "ended",    "cancelled", "failed"};
    return names[static_cast<std::size_t>(state)];
}

/// Writes down which touches it is sent.
class Pad : public UIView {
 public:
    Pad(CGRect frame, std::vector<std::string>& log) : UIView(frame), log_(log) {}
    void touchesBegan(const UITouchSet&, UIEvent*) override { log_.emplace_back("down"); }
    void touchesMoved(const UITouchSet&, UIEvent*) override { log_.emplace_back("move"); }
    void touchesEnded(const UITouchSet&, UIEvent*) override { log_.emplace_back("up"); }
    void touchesCancelled(const UITouchSet&, UIEvent*) override { log_.emplace_back("cancel"); }

 private:
    std::vector<std::string>& log_;
};

/// A window with all five gestures on one view, a pad in it, and a clock of its own.
class Gestures : public testing::Test {
 protected:
    Gestures() {
        pad = std::make_shared<Pad>(CGRect(100, 100, 200, 100), touches);
        root = std::make_shared<UIView>(window->bounds());
        window->addSubview(root);
        root->addSubview(pad);
        doubleTap->setNumberOfTapsRequired(2);
        tap->require(doubleTap);
        listen(pan, "pan");
        listen(pinch, "pinch");
        listen(doubleTap, "double tap");
        listen(tap, "tap");
        listen(press, "press");
    }

    void listen(const std::shared_ptr<UIGestureRecognizer>& gesture, const std::string& what) {
        root->addGestureRecognizer(gesture);
        gesture->addTarget([this, what](UIGestureRecognizer& sender) {
            seen.push_back(what + " " + name(sender.state()));
        });
    }

    void touch(UITouchPhase phase, CGPoint at, int finger = 0) {
        window->deliverTouch(finger, phase, at, loop->now());
    }
    void down(CGFloat x, CGFloat y, int finger = 0) { touch(UITouchPhase::began, {x, y}, finger); }
    void move(CGFloat x, CGFloat y, int finger = 0) { touch(UITouchPhase::moved, {x, y}, finger); }
    void up(CGFloat x, CGFloat y, int finger = 0) { touch(UITouchPhase::ended, {x, y}, finger); }
    void tapAt(CGFloat x, CGFloat y) {
        down(x, y);
        loop->advance(0.05);
        up(x, y);
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent current{loop};
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGSize{400, 300});
    std::vector<std::string> seen, touches;
    std::shared_ptr<UIView> root;
    std::shared_ptr<Pad> pad;
    std::shared_ptr<UIPanGestureRecognizer> pan = std::make_shared<UIPanGestureRecognizer>();
    std::shared_ptr<UIPinchGestureRecognizer> pinch = std::make_shared<UIPinchGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> tap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UITapGestureRecognizer> doubleTap = std::make_shared<UITapGestureRecognizer>();
    std::shared_ptr<UILongPressGestureRecognizer> press =
        std::make_shared<UILongPressGestureRecognizer>();
};

TEST_F(Gestures, DragBeginsBeyondTheSlopAndTellsTheWholeWay) {
    down(150, 150);
    move(156, 157);  // 9.2 points
    EXPECT_THAT(seen, IsEmpty());
    move(158, 158);  // 11.3 points
    move(250, 170);
    EXPECT_EQ(pan->translation(root.get()), (CGPoint{100, 20}));
    up(250, 170);
    EXPECT_THAT(seen, ElementsAre("pan began", "pan changed", "pan ended"));
    EXPECT_THAT(touches, ElementsAre("down", "move", "move", "move", "up"))
        << "a gesture does not take the touch away from the view";
}

TEST_F(Gestures, SecondFingerDoesNotMakeADragJump) {
    down(150, 150);
    move(170, 150);
    down(250, 190, 1);
    EXPECT_EQ(pan->translation(nullptr), (CGPoint{20, 0}));
    move(260, 190, 1);  // the middle moves by half of it
    EXPECT_EQ(pan->translation(nullptr), (CGPoint{25, 0}));
    up(170, 150);
    EXPECT_EQ(pan->translation(nullptr), (CGPoint{25, 0}));
    move(261, 191, 1);
    EXPECT_EQ(pan->translation(nullptr), (CGPoint{26, 1}));
    up(261, 191, 1);
    EXPECT_EQ(seen.back(), "pan ended");
    EXPECT_THAT(touches, ElementsAre("down", "move", "up")) << "one finger on the pad at a time";
}

TEST_F(Gestures, TwoFingersThatOpenPinchAndDoNotDrag) {
    down(190, 150);
    down(210, 150, 1);
    move(185, 150);
    EXPECT_THAT(seen, IsEmpty()) << "5 points of 10";
    move(215, 150, 1);
    EXPECT_DOUBLE_EQ(pinch->scale(), 1.5);
    EXPECT_EQ(pinch->location(root.get()), (CGPoint{200, 150}));
    move(260, 150, 1);
    EXPECT_DOUBLE_EQ(pinch->scale(), 75.0 / 20);
    up(260, 150, 1);
    move(100, 150);  // one finger left: nothing of it
    up(100, 150);
    EXPECT_THAT(seen, ElementsAre("pinch began", "pinch changed", "pinch ended"));
}

TEST_F(Gestures, FingersOnOneSpotPinchWithFiniteScale) {
    down(200, 150);
    down(200, 150, 1);
    move(194, 150);
    move(206, 150, 1);
    EXPECT_DOUBLE_EQ(pinch->scale(), 12);
}

TEST_F(Gestures, WheelStepsAreOnePinchThatEndsWhenTheWheelRests) {
    window->deliverZoomStep({200, 150}, 1.25, loop->now());
    loop->advance(0.2);
    window->deliverZoomStep({200, 150}, 1.25, loop->now());
    EXPECT_DOUBLE_EQ(pinch->scale(), 1.5625);
    EXPECT_EQ(seen.back(), "pinch changed");
    loop->advance(0.3);
    EXPECT_EQ(seen.back(), "pinch ended");
    window->deliverZoomStep({200, 150}, 0.5, loop->now());
    EXPECT_DOUBLE_EQ(pinch->scale(), 0.5) << "a new pinch starts at 1";
}

TEST_F(Gestures, TapWaitsForTheDoubleTapToFail) {
    tapAt(150, 150);
    EXPECT_THAT(seen, IsEmpty());
    loop->advance(0.3);
    EXPECT_THAT(seen, IsEmpty());
    loop->advance(0.1);
    EXPECT_THAT(seen, ElementsAre("tap ended"));
    seen.clear();
    tapAt(150, 150);
    loop->advance(0.2);
    tapAt(153, 149);
    loop->advance(1);
    EXPECT_THAT(seen, ElementsAre("double tap ended")) << "and no tap";
}

TEST_F(Gestures, TapsFarApartAreNoDoubleTap) {
    tapAt(110, 110);
    loop->advance(0.1);
    tapAt(190, 190);
    EXPECT_THAT(seen, ElementsAre("tap ended")) << "the first, as the second is elsewhere";
    loop->advance(1);
    tapAt(150, 150);
    loop->advance(1);
    EXPECT_EQ(seen.back(), "tap ended");
}

TEST_F(Gestures, DragAfterATapIsADragAndATap) {
    tapAt(150, 150);
    loop->advance(0.1);
    down(150, 150);
    move(180, 150);
    up(180, 150);
    loop->advance(1);
    EXPECT_THAT(seen, testing::UnorderedElementsAre("tap ended", "pan began", "pan ended"));
}

TEST_F(Gestures, RestingFingerPressesAndLiftsWithoutATap) {
    down(150, 150);
    move(157, 157);  // 9.9 points: still resting
    loop->advance(0.49);
    EXPECT_THAT(seen, IsEmpty());
    loop->advance(0.02);
    EXPECT_THAT(seen, ElementsAre("press began"));
    move(200, 150);
    up(200, 150);
    loop->advance(1);
    EXPECT_THAT(seen, ElementsAre("press began", "press changed", "press ended"))
        << "no drag while the press is on, and no tap after it";
}

TEST_F(Gestures, StrayingOrASecondFingerIsNoPress) {
    down(150, 150);
    move(161, 150);
    loop->advance(1);
    EXPECT_THAT(seen, ElementsAre("pan began"));
    up(161, 150);
    seen.clear();
    down(150, 150);
    down(180, 150, 1);
    loop->advance(1);
    EXPECT_THAT(seen, IsEmpty());
    up(150, 150);
    up(180, 150, 1);
    tapAt(150, 150);
    loop->advance(1);
    EXPECT_THAT(seen, ElementsAre("tap ended")) << "all are ready again";
}

TEST_F(Gestures, ClosingDuringADragCancelsViewAndGesture) {
    down(150, 150);
    move(180, 150);
    window->cancelTouches();
    EXPECT_THAT(seen, ElementsAre("pan began", "pan cancelled"));
    EXPECT_EQ(touches.back(), "cancel");
    move(190, 150);
    up(190, 150);
    EXPECT_EQ(touches.back(), "cancel") << "what comes later belongs to no touch";

    // A trackpad's pinch, whose end went elsewhere, does not hold up the next gesture.
    for (const bool closes : {true, false}) {
        seen.clear();
        window->deliverPinch(UITouchPhase::began, {200, 150}, 1, loop->now());
        if (closes)
            window->cancelTouches();
        else
            window->deliverPinch(UITouchPhase::began, {-1, -1}, 1, loop->now());  // on no view
        down(150, 150);
        move(180, 150);
        EXPECT_THAT(seen, ElementsAre("pinch began", "pinch cancelled", "pan began"));
        up(180, 150);
    }
}

TEST_F(Gestures, AGestureThatIsSwitchedOffStaysOut) {
    pan->setEnabled(false);
    down(150, 150);
    move(200, 150);
    up(200, 150);
    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(Gestures, ButtonsKeepTapsAndSlidersDragsToThemselves) {
    auto button = std::make_shared<UIButton>(CGRect(0, 0, 40, 40));
    auto slider = std::make_shared<UISlider>(CGRect(0, 260, 220, 40));
    root->addSubview(button);
    root->addSubview(slider);
    int presses = 0, outside = 0;
    std::vector<float> values;
    button->addTarget([&](UIControl&) { ++presses; }, UIControlEventTouchUpInside);
    button->addTarget([&](UIControl&) { ++outside; }, UIControlEventTouchUpOutside);
    slider->addTarget([&](UIControl&) { values.push_back(slider->value()); },
                      UIControlEventValueChanged);
    tapAt(20, 20);
    loop->advance(1);
    EXPECT_EQ(presses, 1);
    EXPECT_THAT(seen, IsEmpty());
    down(20, 20);
    EXPECT_TRUE(button->isHighlighted());
    move(25, 60);
    EXPECT_FALSE(button->isHighlighted());
    up(25, 60);
    EXPECT_EQ(outside, 1);
    down(20, 20);
    window->cancelTouches();
    EXPECT_FALSE(button->isHighlighted());
    button->touchesMoved({std::make_shared<UITouch>(button, CGPoint{20, 20}, 0)}, nullptr);
    EXPECT_FALSE(button->isHighlighted()) << "of a touch that is no longer its own";
    button->setEnabled(false);
    down(20, 20);
    EXPECT_FALSE(button->isHighlighted());
    up(20, 20);
    EXPECT_EQ(presses, 1);

    seen.clear();
    down(110, 280);  // the middle of the track
    move(160, 280);
    move(900, 280);
    up(900, 280);
    EXPECT_THAT(values, ElementsAre(0.5F, 0.75F, 1.0F));
    EXPECT_THAT(seen, IsEmpty());
    slider->setValue(std::nanf(""));
    EXPECT_EQ(slider->value(), 0.0F);
}

}  // namespace
