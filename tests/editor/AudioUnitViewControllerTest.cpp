#include "editor/AudioUnitViewController.h"

#include <cmath>

#include <gmock/gmock.h>

#include "platform/foundation/NSError.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/ViewLayer.h"
#include "tests/editor/EditorFixture.h"

namespace {

using namespace qov;
using platform::CGRect;
using platform::CGSize;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class Controller : public qov::test::EditorFixture {
 protected:
    /// The editor's own lines, without those of audio unit and kernel.
    std::vector<std::string> ownLines() const {
        std::vector<std::string> own;
        for (const auto& line : console.lines())
            if (line.starts_with("AU Diagnostics") || line.starts_with(" - ") ||
                line.starts_with("ERROR"))
                own.push_back(line);
        return own;
    }
    CGRect panel() const { return controller->stereoControls->frame(); }
    CGRect correlograph() const { return controller->correlographView->frame(); }

    const std::vector<std::string> bindingLines{
        "AU Diagnostics: Getting parameters from the audio unit.",
        " - address: 0, name: Stereo Width, value: 0.5",
        " - address: 1, name: Panorama, value: 0.5",
        " - address: 2, name: Phase Shift, value: 0.0",
        " - address: 3, name: Swap Channels, value: 0.0",
        " - address: 4, name: Invert Channel, value: 0.0",
        " - address: 5, name: Recover Mono, value: 0.0",
        " - address: 6, name: Test Mono, value: 0.0",
        " - address: 7, name: Bypass, value: 0.0",
        "AU Diagnostics: Connected parameters to the plugins interface."};
};

// Binding

TEST_F(Controller, ViewFirstBindsWhenTheAudioUnitComes) {
    controller->view();
    EXPECT_THAT(ownLines(),
                ElementsAre("AU Diagnostics: WARNING: The audio unit plugin is nil (yet?)."));
    console.take();
    createAudioUnit();
    EXPECT_THAT(ownLines(), ElementsAre("AU Diagnostics: Trying to create the audio unit.",
                                        "AU Diagnostics: QOV_Kelvane_PluginAudioUnit::didSet()"));
    console.take();
    loop->pump();
    auto expected = bindingLines;
    expected.insert(
        expected.begin(),
        "AU Diagnostics: We are about to connect the audio unit to its view controller.");
    EXPECT_EQ(ownLines(), expected);
}

TEST_F(Controller, AudioUnitFirstBindsWhenTheViewLoads) {
    createAudioUnit();
    loop->pump();
    EXPECT_EQ(ownLines().back(), "AU Diagnostics: WARNING: Plugin view is not loaded (yet).");
    console.take();
    show();
    auto expected = bindingLines;
    expected.insert(expected.begin(), "AU Diagnostics: The plugin is loaded.");
    EXPECT_EQ(ownLines(), expected);
}

TEST_F(Controller, BothAtOnceBindTwiceAndStillWork) {
    createAudioUnit();
    show();
    loop->pump();
    EXPECT_EQ(std::ranges::count(console.lines(), bindingLines.back()), 2);
    controller->setParameter(0, 0.75F);
    EXPECT_EQ(parameter(0), 0.75F);
    controller->setParameter(9, 0.25F);  // twice bound, the ninth is the second width
    EXPECT_EQ(parameter(1), 0.25F) << "or panorama, which comes after it";
}

TEST_F(Controller, AnAudioUnitThatIsRefusedChangesNothing) {
    platform::NSError error;
    EXPECT_EQ(controller->createAudioUnit({}, &error), nullptr);
    EXPECT_NE(error.code(), 0);
    EXPECT_EQ(controller->audioUnit(), nullptr);
    EXPECT_EQ(console.lines().front(), "AU Diagnostics: Trying to create the audio unit.");
}

TEST_F(Controller, ACorrelographThatLostItsOutletIsAFatalErrorAtTheNextTick) {
    open();
    controller->correlographView.reset();
    EXPECT_DEATH(loop->advance(0.1), "outlet is missing: correlographView");
}

TEST_F(Controller, AddressesBeyondTheBoundOnesAreReported) {
    open();
    EXPECT_EQ(controller->getParameter(-1), 0.0F);
    EXPECT_EQ(controller->getParameter(9), 0.0F);
    controller->setParameter(9, 1);
    EXPECT_THAT(console.lines(), ElementsAre("ERROR: The parameter address is out of range.",
                                             "ERROR: The parameter address is out of range.",
                                             "ERROR: The parameter address is out of range."));
    EXPECT_DEATH(controller->getParameter(8), "Fatal error") << "the guard lets the count through";
    EXPECT_DEATH(controller->setParameter(8, 0), "Fatal error");
}

TEST_F(Controller, HostChangesReachThePanelTwoHopsLater) {
    open();
    const auto& layer = controller->stereoControls->layer();
    const int paints = layer.paints();
    controller->audioUnit()->parameterTree()->parameterWithAddress(0)->setValue(0.9F);
    window->update();
    EXPECT_EQ(layer.paints(), paints) << "not before the main queue has had its turn";
    loop->pump();
    window->update();
    EXPECT_EQ(layer.paints(), paints + 1);
}

TEST_F(Controller, ItsTimerHoldsTheEditorUntilTheLoopEnds) {
    open();
    const auto unit = controller->audioUnit();
    const auto lifetime = std::weak_ptr(controller);
    window.reset();
    controller.reset();
    EXPECT_FALSE(lifetime.expired());
    loop->end();
    EXPECT_TRUE(lifetime.expired());
    unit->parameterTree()->parameterWithAddress(0)->setValue(1);  // nobody listens, nobody minds
}

TEST_F(Controller, EqualValuesAreNotWritten) {
    open();
    int changes = 0;
    const auto tree = controller->audioUnit()->parameterTree();
    const auto token = tree->tokenByAddingParameterObserver(
        [&](platform::AUParameterAddress, float) { ++changes; });
    controller->onStereoControlsParameter(0, 0.5F);
    EXPECT_EQ(changes, 0);
    controller->onStereoControlsParameter(0, 0.6F);
    loop->pump();
    loop->pump();
    EXPECT_EQ(changes, 1) << "and the echo ends there";
    tree->removeParameterObserver(token);
}

TEST_F(Controller, PhaseShiftIsToldInTenthsOfAMillisecond) {
    EXPECT_EQ(controller->getMilliseconds(), 0);
    EXPECT_EQ(controller->getPhaseShift(), 0);
    open();
    controller->setParameter(2, 0.5F);
    const auto frames = controller->getPhaseShift();
    EXPECT_GT(frames, 200);
    EXPECT_EQ(controller->getMilliseconds(),
              static_cast<std::int64_t>(static_cast<double>(frames) / 44100 * 10000));
}

TEST_F(Controller, OptionsSetTheCorrelograph) {
    open();
    auto& view = *controller->correlographView;
    controller->onStereoControlsOption(10, 0);
    EXPECT_FALSE(view.baseClass.isNormalized);
    controller->onStereoControlsOption(10, 1);
    EXPECT_TRUE(view.baseClass.isNormalized);
    controller->onStereoControlsOption(11, 0);
    EXPECT_TRUE(view.isHidden());
    controller->onStereoControlsOption(11, 0.5F);
    EXPECT_FALSE(view.isHidden());
    controller->onStereoControlsOption(12, 1);
    EXPECT_TRUE(view.isSuspended);
    std::vector<std::string> modes{view.baseClass.drawMode};
    for (int i = 0; i < 2; ++i) {
        controller->onStereoControlsOption(13, 0);
        modes.push_back(view.baseClass.drawMode);
    }
    view.baseClass.drawMode = "ovals";
    controller->onStereoControlsOption(13, 1);
    modes.push_back(view.baseClass.drawMode);
    EXPECT_THAT(modes, ElementsAre("points", "bezier", "points", "points"));
    controller->onStereoControlsOption(14, 1);
    controller->onStereoControlsOption(9, 0);
    EXPECT_EQ(view.baseClass.drawMode, "points");
    EXPECT_TRUE(view.baseClass.isNormalized);
}

// The tick

TEST_F(Controller, TwentyTicksASecondDrawAndPaintOnlyWhatIsNew) {
    open();
    const auto& layer = controller->correlographView->layer();
    const int draws = layer.draws(), paints = layer.paints();
    for (int tick = 0; tick < 20; ++tick) {
        loop->advance(0.05);
        EXPECT_THAT(window->update(), IsEmpty());
    }
    EXPECT_EQ(layer.draws() - draws, 20);
    EXPECT_EQ(layer.paints(), paints);
    controller->audioUnit()->getBufferLeft()[2] = 0.5F;
    loop->advance(0.05);
    EXPECT_THAT(window->update(), ElementsAre(platform::UIWindow::PixelRect{200, 90, 280, 260}));
    EXPECT_EQ(layer.paints(), paints + 1);
}

// Touches and gestures; the panel's canvas lies in the window at scale 1.

TEST_F(Controller, DragOnAHotspotEditsAndDoesNotMoveThePanel) {
    open();
    down(350, 375);
    move(350, 300);
    move(350, 225);
    up(350, 225);
    // 150 units of 600 for the whole range
    EXPECT_FLOAT_EQ(parameter(0), 0.75F);
    EXPECT_EQ(panel(), CGRect(0, 0, 680, 440));
    EXPECT_FALSE(controller->touchesLocked);
}

enum class Gesture { drag, hold, click };

/// A tap, and soon after it another touch, on a panel that is zoomed by 1.25.
class GestureTable
    : public Controller,
      public testing::WithParamInterface<std::tuple<const char*, double, const char*, Gesture>> {
 protected:
    platform::CGPoint place(const std::string& name) const {
        if (name == "button") return controller->contrastButton->frame().center();
        if (name == "slider") return controller->brightnessSlider->frame().center();
        const platform::CGPoint on = name == "knob"     ? platform::CGPoint{480, 375}
                                     : name == "switch" ? platform::CGPoint{100, 130}
                                                        : platform::CGPoint{492, 375};
        return {on.x * 1.25 - 85, on.y * 1.25 - 55};
    }
};

TEST_P(GestureTable, TouchesInAControlAreNoGestures) {
    const auto& [first, gap, second, gesture] = GetParam();
    const bool isPlate = second == std::string("plate");
    open();
    window->deliverZoomStep({340, 220}, 1.25, loop->now());
    settle();
    const auto zoomed = panel();
    controller->contrastButton->setHidden(false);
    controller->brightnessSlider->setHidden(false);
    const auto at = place(second), before = place(first);
    tapAt(before.x, before.y);
    settle(gap);
    const bool isLocked = controller->touchesLocked;
    EXPECT_EQ(isLocked, first == std::string("slider"));
    down(at.x, at.y);
    settle(gesture == Gesture::click ? 0.05 : 0.1);
    if (gesture == Gesture::hold) settle(0.5);
    if (gesture == Gesture::drag) {
        move(at.x, at.y - 20);
        settle(0.4);  // a late tap would come here
        move(at.x, at.y - 60);
    }
    up(at.x, at.y - (gesture == Gesture::drag ? 60 : 0));
    settle();
    EXPECT_EQ(parameter(0) != 0.5F, second == std::string("knob") && gesture == Gesture::drag);
    EXPECT_EQ(controller->contrastButton->isHidden(), isPlate && gesture == Gesture::hold);
    const bool isDoubleTap = isPlate && first == std::string("plate") && gap <= 0.3;
    EXPECT_EQ(panel() != zoomed, (isPlate && gesture == Gesture::drag && !isLocked) ||
                                     (isDoubleTap && gesture == Gesture::click));
}

INSTANTIATE_TEST_SUITE_P(
    Touches, GestureTable,
    testing::Combine(testing::Values("knob", "switch", "button", "slider", "plate"),
                     testing::Values(0.02, 0.28, 0.4, 1.0),
                     testing::Values("knob", "switch", "button", "slider", "plate"),
                     testing::Values(Gesture::drag, Gesture::hold, Gesture::click)));

TEST_F(Controller, CorrelographOfALargePanelLeavesTheControlsTheirTouches) {
    createAudioUnit();
    loop->pump();
    show({1360, 880});
    ASSERT_TRUE(correlograph().contains(platform::CGPoint{600, 758})) << "nothing is in the way";
    tapAt(2 * 300, 2 * 379);
    EXPECT_EQ(console.lines().back(), "Current editing mode is: stereo width");
    tapAt(2 * 150, 2 * 80);
    EXPECT_EQ(parameter(3), 1);
}

TEST_F(Controller, DragBesideTheHotspotsMovesBothViews) {
    open();
    down(600, 400);
    move(620, 400);
    move(640, 410);
    EXPECT_EQ(panel(), CGRect(40, 10, 680, 440));
    EXPECT_EQ(correlograph(), CGRect(240, 100, 280, 260));
    window->setNeedsLayout();
    controller->view()->setNeedsLayout();
    window->update();
    EXPECT_EQ(panel().origin.x, 40) << "a layout pass in mid-gesture leaves them there";
    up(640, 410);
    EXPECT_EQ(panel().origin.x, 40);
    controller->view()->setNeedsLayout();
    window->update();
    EXPECT_EQ(panel().origin.x, 0) << "the next one puts them back";
}

TEST_F(Controller, HotspotsMoveAndGrowWithThePanel) {
    open();
    window->deliverZoomStep({340, 220}, 1.25, loop->now());
    settle();
    EXPECT_EQ(panel(), CGRect(-85, -55, 850, 550));
    // The panorama reset's middle is (465, 63) on the canvas.
    controller->setParameter(1, 0.9F);
    tapAt(465 * 1.25 - 85, 63 * 1.25 - 55);
    EXPECT_EQ(parameter(1), 0.5F);
}

TEST_F(Controller, DoubleTapCallsAPanelBackThatIsOutOfSight) {
    open();
    down(600, 400);
    move(300, 400);
    move(-2000, 400);
    up(-2000, 400);
    EXPECT_LT(panel().maxX(), 0);
    tapAt(300, 200);
    settle(0.1);
    tapAt(300, 200);
    settle();
    EXPECT_EQ(panel(), CGRect(0, 0, 680, 440));
    EXPECT_EQ(correlograph(), CGRect(200, 90, 280, 260));
}

TEST_F(Controller, PinchStopsAtItsLimitsForEachViewByItself) {
    open();
    window->deliverPinch(platform::UITouchPhase::began, {340, 220}, 1, loop->now());
    const auto pinch = [&](double scale) {
        window->deliverPinch(platform::UITouchPhase::moved, {340, 220}, scale, loop->now());
    };
    pinch(2);
    EXPECT_EQ(panel().size.width, 1360);
    EXPECT_EQ(correlograph(), CGRect(60, -40, 560, 520)) << "about its own centre";
    pinch(4);
    EXPECT_EQ(panel().size.width, 1360) << "2720 is too wide";
    EXPECT_EQ(correlograph().size.width, 1120);
    pinch(0.4);
    EXPECT_EQ(panel().size.width, 272);
    EXPECT_EQ(correlograph().size.width, 1120) << "112 is too narrow";
    window->deliverPinch(platform::UITouchPhase::ended, {340, 220}, 0.4, loop->now());
}

TEST_F(Controller, LongPressShowsTheContrastAndHidesBoth) {
    open();
    auto& button = *controller->contrastButton;
    auto& slider = *controller->brightnessSlider;
    EXPECT_TRUE(button.isHidden() && slider.isHidden());
    const auto longPress = [&] {
        down(340, 420);
        loop->advance(0.6);
        EXPECT_EQ(controller->touchesLocked, !button.isHidden());
        up(340, 420);
        settle();
    };
    longPress();
    EXPECT_FALSE(button.isHidden());
    EXPECT_FALSE(controller->touchesLocked);
    const auto at = button.frame().center();
    tapAt(at.x, at.y);
    settle();
    EXPECT_FALSE(slider.isHidden());
    EXPECT_EQ(button.alpha(), 0.5);
    EXPECT_TRUE(controller->touchesLocked);

    // The pan stands back now; the slider sets both greys.
    const auto track = slider.frame();
    down(track.midX(), track.midY());
    loop->advance(0.6);
    EXPECT_FALSE(slider.isHidden()) << "a hold on the slider is no long press";
    move(track.maxX() + 50, track.midY());
    up(track.maxX() + 50, track.midY());
    EXPECT_EQ(panel().origin.x, 0);
    EXPECT_EQ(controller->pluginFrame->contrast, 1.0F);
    EXPECT_TRUE(controller->touchesLocked);

    window->deliverZoomStep({340, 220}, 1.5, loop->now());
    EXPECT_FALSE(controller->touchesLocked) << "a pinch takes the lock away";
    settle();
    longPress();
    EXPECT_TRUE(button.isHidden() && slider.isHidden());
    EXPECT_EQ(button.alpha(), 1.0);
}

// Layout

struct LayoutCase {
    CGSize size;
    bool fitToHeight;
    CGRect panel;
};

class Layout : public Controller, public testing::WithParamInterface<LayoutCase> {};

TEST_P(Layout, PlacesPanelAndCorrelograph) {
    const auto& c = GetParam();
    controller->fitToHeight = c.fitToHeight;
    createAudioUnit();
    show(c.size);
    const auto frame = panel();
    EXPECT_NEAR(frame.origin.x, c.panel.origin.x, 1e-9);
    EXPECT_NEAR(frame.origin.y, c.panel.origin.y, 1e-9);
    EXPECT_NEAR(frame.size.width, c.panel.size.width, 1e-9);
    EXPECT_NEAR(frame.size.height, c.panel.size.height, 1e-9);
    EXPECT_EQ(correlograph(), frame.insetBy(200, 90));
    EXPECT_EQ(controller->pluginFrame->frame(), CGRect({}, c.size));
    // Whatever the size, touches and ticks find their way.
    tapAt(c.size.width / 2, c.size.height / 2);
    settle();
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, Layout,
    testing::Values(LayoutCase{{680, 440}, false, {0, 0, 680, 440}},
                    LayoutCase{{340, 1000}, false, {0, 390, 340, 220}},
                    LayoutCase{{1700, 550}, false, {0, -275, 1700, 1100}},
                    LayoutCase{{1700, 550}, true, {425, 0, 850, 550}},
                    LayoutCase{
                        {550, 550}, true, {0, 550 / 2.0 - 550 * 11 / 34.0, 550, 550 * 11 / 17.0}},
                    LayoutCase{{1, 1}, false, {0, 0.5 - 11 / 34.0, 1, 11 / 17.0}},
                    LayoutCase{{4000, 3000}, false, {0, 1500 - 22000 / 17.0, 4000, 44000 / 17.0}}));

}  // namespace
