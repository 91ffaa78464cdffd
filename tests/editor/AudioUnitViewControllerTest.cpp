#include "editor/AudioUnitViewController.h"

#include <map>

#include <gtest/gtest.h>

#include "platform/foundation/NSError.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/ViewLayer.h"
#include "tests/editor/EditorRig.h"

namespace qov {
namespace {

using platform::CGPoint;
using platform::CGRect;

class Controller : public testing::Test, protected test::EditorRig {
 protected:
    /// The editor's own lines since the last call, without their prefix.
    std::string takeLog() {
        std::string log;
        for (const std::string& line : console.take())
            for (const std::string prefix : {"AU Diagnostics: ", " - address: "})
                if (line.starts_with(prefix)) log += line.substr(prefix.size()) + "\n";
        return log;
    }
    CGRect panel() const { return controller->stereoControls->frame(); }
    CGRect correlograph() const { return controller->correlographView->frame(); }
    void zoom() {
        window->deliverZoomStep({340, 220}, 1.25, loop->now());
        settle();
    }
    void layOut() {
        controller->view()->setNeedsLayout();
        window->update();
    }
};

TEST_F(Controller, BindsAsSoonAsViewAndAudioUnitExist) {
    const std::string created =
        "Trying to create the audio unit.\nQOV_Kelvane_PluginAudioUnit::didSet()\n";
    const std::string bound =
        "Getting parameters from the audio unit.\n"
        "0, name: Stereo Width, value: 0.5\n1, name: Panorama, value: 0.5\n"
        "2, name: Phase Shift, value: 1e-05\n3, name: Swap Channels, value: 0.0\n"
        "4, name: Invert Channel, value: 0.0\n5, name: Recover Mono, value: 0.0\n"
        "6, name: Test Mono, value: 0.0\n7, name: Bypass, value: 0.0\n"
        "Connected parameters to the plugins interface.\n";
    const std::string byLoad = "The plugin is loaded.\n" + bound;
    const std::string byBlock =
        "We are about to connect the audio unit to its view controller.\n" + bound;
    // v: the view loads, a: the audio unit is created, p: the loop is pumped
    for (const auto& [steps, log] : std::map<std::string, std::string>{
             {"vap", "WARNING: The audio unit plugin is nil (yet?).\n" + created + byBlock},
             {"apv", created + "WARNING: Plugin view is not loaded (yet).\n" + byLoad},
             {"avp", created + byLoad + byBlock}}) {
        controller = std::make_shared<AudioUnitViewController>();
        for (const char step : steps) {
            if (step == 'v') controller->view();
            if (step == 'a') {
                createAudioUnit();
                controller->audioUnit()->parameterTree()->parameterWithAddress(2)->setValue(1e-5F);
            }
            if (step == 'p') loop->pump();
        }
        EXPECT_EQ(takeLog(), log) << steps;
    }
    platform::NSError error;
    EXPECT_EQ(controller->createAudioUnit({}, &error), nullptr);
    EXPECT_NE(error.code(), 0);
    EXPECT_NE(controller->audioUnit(), nullptr) << "a failure leaves the one before";
}

TEST_F(Controller, ValuesAreThoseOfTheAudioUnitAndWrongAddressesAreReportedOrFatal) {
    EXPECT_EQ(controller->getMilliseconds() + controller->getPhaseShift(), 0);
    open();
    controller->setParameter(2, 0.5F);
    EXPECT_EQ(controller->getPhaseShift(), 220);
    EXPECT_EQ(controller->getMilliseconds(), 49) << "tenths of a millisecond";
    EXPECT_EQ(controller->getParameter(-1) + controller->getParameter(9), 0.0F);
    controller->setParameter(9, 1);
    EXPECT_EQ(console.take().back(), "ERROR: The parameter address is out of range.");
    EXPECT_DEATH(controller->getParameter(8), "Fatal error") << "the guard accepts the count";
    EXPECT_DEATH(controller->setParameter(8, 0), "Fatal error");
    controller->correlographView.reset();
    EXPECT_DEATH(loop->advance(0.1), "outlet is missing: correlographView");
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
    unit->parameterTree()->parameterWithAddress(0)->setValue(1);
    EXPECT_EQ(takeLog(), "The strong self shit is nil.\n");
}

TEST_F(Controller, DrawsTwentyTimesASecondAndPaintsOnlyWhatIsNew) {
    open();
    const auto& panelLayer = controller->stereoControls->layer();
    const auto& layer = controller->correlographView->layer();
    const int draws = layer.draws(), paints = layer.changes(), panelPaints = panelLayer.changes();
    for (int tick = 0; tick < 20; ++tick) settle(0.05);
    EXPECT_EQ(std::pair(layer.draws(), layer.changes()), std::pair(draws + 20, paints));
    controller->audioUnit()->getBufferLeft()[2] = 0.5F;
    settle(0.05);
    EXPECT_EQ(layer.changes(), paints + 1);
    int changes = 0;
    controller->audioUnit()->parameterTree()->tokenByAddingParameterObserver(
        [&](platform::AUParameterAddress, float) { ++changes; });
    controller->onStereoControlsParameter(0, 0.5F);  // an equal value is not written
    controller->onStereoControlsParameter(0, 0.6F);
    window->update();
    EXPECT_EQ(panelLayer.changes(), panelPaints) << "the main queue has not run yet";
    settle();
    EXPECT_EQ(std::pair(panelLayer.changes(), changes), std::pair(panelPaints + 1, 1));
}

TEST_F(Controller, OptionsSetTheCorrelograph) {
    open();
    auto& view = *controller->correlographView;
    view.baseClass.drawMode = "ovals";
    std::string states;  // normalized, hidden, suspended
    const std::pair<int, float> sent[]{{10, 0}, {10, 1}, {11, 0}, {11, 0.5F}, {12, 1},   {13, 0},
                                       {13, 0}, {13, 1}, {9, 0},  {14, 1},    {12, 0.5F}};
    for (const auto& [address, value] : sent) {
        controller->onStereoControlsOption(address, value);
        for (const bool is : {view.baseClass.isNormalized, view.isHidden(), view.isSuspended})
            states += is ? '1' : '0';
        states += view.baseClass.drawMode + " ";
    }
    EXPECT_EQ(states,
              "000ovals 100ovals 110ovals 100ovals 101ovals 101points 101bezier "
              "101points 101points 101points 100points ");
}

TEST_F(Controller, TouchesInAControlAreNoGestures) {
    open();
    zoom();
    const CGRect zoomed = panel();
    const auto onPanel = [](double x, double y) { return CGPoint{x * 1.25 - 85, y * 1.25 - 55}; };
    const std::pair<std::string, CGPoint> places[]{
        {"knob", onPanel(480, 375)},
        {"switch", onPanel(100, 130)},
        {"button", controller->contrastButton->frame().center()},
        {"slider", controller->brightnessSlider->frame().center()},
        {"plate", onPanel(492, 375)}};
    const auto check = [&](const auto& first, double gap, const auto& second, char gesture) {
        SCOPED_TRACE(first.first + ", then " + gesture + " on " + second.first);
        controller->stereoControls->setFrame(zoomed);
        controller->contrastButton->setHidden(false);
        controller->brightnessSlider->setHidden(false);
        controller->brightnessSlider->setValue(0);
        controller->setParameter(0, 0.5F);
        controller->touchesLocked = false;
        settle(0), tapAt(first.second), settle(gap);
        const bool isLocked = controller->touchesLocked;
        EXPECT_EQ(isLocked, first.first == "slider") << "a late tap after " << gap << " s";
        const double way = gesture == 'd' ? 60 : 0;
        const auto [x, y] = second.second;
        down({x, y});
        settle(gesture == 'h' ? 0.6 : 0.05);
        move({x, y - way / 3});
        settle(way / 150);  // a late tap would come here
        move({x, y - way}), up({x, y - way}), settle();
        const bool isPlate = second.first == "plate";
        const bool isDoubleTap = gesture == 'c' && gap < 0.3 && first.first == "plate";
        EXPECT_EQ(parameter(0) != 0.5F, second.first == "knob" && way > 0);
        EXPECT_EQ(controller->contrastButton->isHidden(), isPlate && gesture == 'h');
        EXPECT_EQ(panel() != zoomed, isPlate && ((way > 0 && !isLocked) || isDoubleTap)) << gap;
    };
    for (const auto& first : places)
        for (const double gap : {0.02, 0.28, 0.4, 1.0})
            for (const auto& second : places)
                for (const char gesture : {'d', 'h', 'c'})  // drag, hold, click
                    check(first, gap, second, gesture);
}

TEST_F(Controller, PanMovesBothViewsUntilTheNextLayoutOrDoubleTap) {
    open();
    const CGRect home = panel();
    for (const bool byTaps : {false, true}) {
        down({600, 400}), move({300, 400}), move({-2000, 410});
        layOut();  // ignored during the pan
        up({-2000, 410});
        EXPECT_EQ(panel(), home.offsetBy(-2600, 10));
        EXPECT_EQ(correlograph(), CGRect(-2400, 100, 280, 260));
        if (byTaps) tapAt({300, 200}), settle(0.1), tapAt({300, 200});
        if (!byTaps) layOut();
        EXPECT_EQ(panel(), home);
        EXPECT_EQ(correlograph(), CGRect(200, 90, 280, 260));
        settle();
    }
}

TEST_F(Controller, PinchStopsAtItsLimitsForEachViewByItself) {
    open();
    using enum platform::UITouchPhase;
    const auto pinch = [&](platform::UITouchPhase phase, double scale) {
        window->deliverPinch(phase, {340, 220}, scale, loop->now());
        return std::pair(panel().size.width, correlograph().size.width);
    };
    pinch(began, 1);
    EXPECT_EQ(pinch(moved, 2), std::pair(1360.0, 560.0));
    EXPECT_EQ(correlograph(), CGRect(60, -40, 560, 520)) << "about its own centre";
    EXPECT_EQ(pinch(moved, 4), std::pair(1360.0, 1120.0)) << "2720 is too wide";
    EXPECT_EQ(pinch(moved, 0.4), std::pair(272.0, 1120.0)) << "112 is too narrow";
    pinch(ended, 0.4);
    layOut();
    EXPECT_EQ(panel(), CGRect(0, 0, 680, 440));
}

TEST_F(Controller, LongPressShowsTheContrastAndHidesBoth) {
    open();
    auto& button = *controller->contrastButton;
    auto& slider = *controller->brightnessSlider;
    const auto expect = [&](const std::string& state) {
        std::string found(!button.isHidden(), 'b');
        found += std::string(!slider.isHidden(), 's');
        EXPECT_EQ(found + std::string(controller->touchesLocked, 'l'), state);
        EXPECT_EQ(button.alpha(), slider.isHidden() ? 1.0 : 0.5);
    };
    EXPECT_EQ(slider.frame().maxX() + 6, button.frame().minX());
    const CGPoint plate{600, 400};
    down(plate), settle(0.6), expect("bl");
    up(plate), expect("b");
    for (const auto* state : {"bsl", "b", "bsl"}) tapAt(button.frame().center()), expect(state);
    tapAt({slider.frame().maxX() - 10, slider.frame().midY()}), expect("bsl");
    EXPECT_EQ(controller->pluginFrame->contrast, 1.0F);
    zoom(), expect("bs");
    down(plate), settle(0.6), up(plate), expect("");
}

TEST_F(Controller, LayoutFillsTheWidthOrTheHeight) {
    open();
    const std::tuple<platform::CGSize, bool, CGRect> rows[]{
        {{340, 1000}, true, {0, 390, 340, 220}},
        {{1700, 550}, false, {0, -275, 1700, 1100}},
        {{1700, 550}, true, {425, 0, 850, 550}},
        {{1360, 880}, true, {0, 0, 1360, 880}}};
    for (const auto& [size, fitToHeight, expected] : rows) {
        controller->fitToHeight = fitToHeight;
        show(size);
        const CGRect found = panel();
        EXPECT_NEAR(found.width() * found.height(), expected.width() * expected.height(), 1e-6);
        EXPECT_NEAR(found.minX() + found.minY(), expected.minX() + expected.minY(), 1e-9);
        EXPECT_EQ(correlograph(), found.insetBy(200, 90));
        EXPECT_EQ(controller->pluginFrame->frame(), CGRect({}, size));
    }
    tapAt({600, 758});  // through the correlograph
    EXPECT_EQ(console.lines().back(), "Current editing mode is: stereo width");
}

}  // namespace
}  // namespace qov
