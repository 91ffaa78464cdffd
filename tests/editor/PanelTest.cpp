#include <sstream>

#include <gtest/gtest.h>

#include "platform/uikit/UISlider.h"
#include "tests/editor/EditorRig.h"
#include "tests/support/golden.h"

namespace qov {
namespace {

using platform::CGPoint;
using platform::CGRect;

const std::pair scaleAtStart{drawScaleX, drawScaleY};

template <typename Owner>
CGRect fit(int rawValue, CGRect target) {
    return ResizingBehaviorOf<Owner>::fromRawValue(rawValue)->apply({0, 0, 680, 440}, target);
}

TEST(ResizingBehavior, ScalesAndCentresAndOnlyThePanelsStoresTheScale) {
    EXPECT_EQ(scaleAtStart, std::pair(1.0, 1.0));
    const CGRect canvas{0, 0, 680, 440}, view{10, 20, 1020, 1000};
    constexpr double high = 25 / 11.0;
    const std::pair<double, double> scales[]{{1.5, 1.5}, {high, high}, {1.5, high}, {1, 1}};
    for (int raw = 0; raw < 4; ++raw) {
        const auto [x, y] = scales[raw];
        drawScaleX = drawScaleY = 0;
        const CGRect fitted = fit<CorrelographBaseAU>(raw, view);
        EXPECT_EQ(fit<PluginFrameBaseEx>(raw, view), fitted);
        EXPECT_EQ(drawScaleX + drawScaleY, 0);
        EXPECT_EQ(fit<StereoControlsBase>(raw, view), fitted);
        EXPECT_EQ(std::pair(drawScaleX, drawScaleY), scales[raw]);
        EXPECT_DOUBLE_EQ(fitted.width(), 680 * x);
        EXPECT_DOUBLE_EQ(fitted.height(), 440 * y);
        EXPECT_EQ(fitted.center(), (CGPoint{520, 520}));
    }
    drawScaleX = 0.5;
    EXPECT_EQ(fit<StereoControlsBase>(0, CGRect::zero()), canvas);
    EXPECT_EQ(fit<StereoControlsBase>(0, canvas), canvas);
    EXPECT_EQ(drawScaleX, 0.5);
    using Behavior = CorrelographBaseAU::ResizingBehavior;
    EXPECT_FALSE(Behavior::fromRawValue(4) || Behavior::fromRawValue(-1));
    EXPECT_DEATH(Behavior(static_cast<Behavior::Case>(7)).apply(canvas, view), "no such case");
}

/// Records what the panel reports, as in "p0=0.5 " for a parameter and "o10=1 " for an option.
struct Reports : StereoControlsDelegate {
    void onStereoControlsParameter(int address, float value) override {
        log << 'p' << address << '=' << value << ' ';
    }
    void onStereoControlsOption(int address, float value) override {
        log << 'o' << address << '=' << value << ' ';
    }
    std::ostringstream log;
};

class Panel : public testing::Test, protected test::EditorRig {
 protected:
    Panel() {
        open();
        panel = controller->stereoControls;
        panel->delegate = reports;
        for (const auto event : {1, 64, 128, 256, 4096})
            panel->addTarget([this, event](auto&) { events += std::to_string(event) + " "; },
                             static_cast<platform::UIControlEvents>(event));
    }
    std::string takeReports() { return std::exchange(reports->log, {}).str(); }
    std::string takeEvents() { return std::exchange(events, {}); }

    std::shared_ptr<StereoControls> panel;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::string events;
};

TEST_F(Panel, EachHotspotSwitchesOrStartsItsOwnControl) {
    // Area, mode, and what the first and the second touch report.
    const std::tuple<CGRect, std::string, const char*, const char*> cases[]{
        {{40, 70, 125, 40}, "swap channels", "p3=1 ", "p3=0 "},
        {{40, 112, 125, 40}, "invert channel", "p4=1 ", "p4=0 "},
        {{40, 319, 125, 40}, "recover mono", "p5=1 ", "p5=0 "},
        {{500, 319, 150, 40}, "test mono", "p6=1 ", "p6=0 "},
        {{40, 255, 126, 22}, "bezier", "o13=1 ", "o13=0 "},
        {{40, 231, 126, 22}, "graph normalized", "o10=0 ", "o10=1 "},
        {{40, 207, 126, 22}, "show oscillograph", "o11=0 ", "o11=1 "},
        {{500, 286, 150, 22}, "go pro", "o12=1 p7=1 ", "o12=0 p7=0 "},
        {{443, 41, 44, 44}, "reset1", "p1=0.5 ", "p1=0.5 "},
        {{194, 355, 44, 44}, "reset2", "p0=0.5 ", "p0=0.5 "},
        {{500, 179, 150, 84}, "phase shift", "", ""},
        {{195, 41, 238, 44}, "panorama", "", ""},
        {{248, 355, 238, 44}, "stereo width", "", ""},
        {{340, 220, 0, 0}, "", "", ""}};
    for (const double width : {680.0, 340.0, 2048.0}) {
        show({width, width * 11 / 17});
        for (const auto& [area, mode, on, off] : cases) {
            const auto touchAt = [&, mode = mode](double x, double y) {
                controller->touchesLocked = mode.empty();
                down({x * width / 680, y * width / 680});
                EXPECT_EQ(controller->touchesLocked, !mode.empty());
                EXPECT_EQ(console.take().back(), "Current editing mode is: " + mode);
                const auto reported = takeReports();
                up({x * width / 680, y * width / 680}), takeReports();
                return reported;
            };
            EXPECT_EQ(touchAt(area.minX() + 0.6, area.minY() + 0.6), on);
            EXPECT_EQ(touchAt(area.maxX() - 0.6, area.maxY() - 0.6), off);
            for (const CGPoint beside : {CGPoint{area.minX() - 0.6, area.midY()},
                                         {area.maxX() + 0.6, area.midY()},
                                         {area.midX(), area.minY() - 0.6},
                                         {area.midX(), area.maxY() + 0.6}})
                EXPECT_TRUE(mode.empty() || panel->baseClass.modeAt(beside) != mode);
        }
    }
}

TEST_F(Panel, DragsFollowTheFingerAndStopAtTheEnds) {
    const std::tuple<double, double, CGPoint, CGPoint, const char*> rows[]{
        {680, 1, {300, 370}, {300, 310}, "p0=0.6 "},  // 60 units up: a tenth of the range
        {680, 1, {300, 370}, {330, 370}, "p0=0.55 "},
        {680, 1, {300, 370}, {300, -4630}, "p0=1 "},
        {680, 1, {300, 370}, {300, 5370}, "p0=0 "},
        {680, 2, {200, 50}, {215, 35}, "p1=0.6 "},
        {680, 1, {460, 60}, {460, 0}, ""},
        {1360, 1, {1020, 400}, {1020, 160}, "p2=0.6 "}};  // divided by the scale twice
    for (const auto& [width, scaler, from, to, expected] : rows) {
        show({width, width * 11 / 17});
        panel->scaler = scaler;
        for (const int address : {0, 1, 2}) panel->updateParameter(address, 0.5F);
        down(from);
        takeReports();
        move(to);
        EXPECT_EQ(takeReports(), expected);
        up(to);
        EXPECT_EQ(takeReports(), expected) << "lifting is a last drag";
        EXPECT_EQ(takeEvents(), "1 4096 4096 64 ");
        EXPECT_TRUE(panel->currentEditingMode.empty() && !controller->touchesLocked);
    }
}

TEST_F(Panel, CancelKeepsTheModeAndTouchesWithoutOwnersAreIgnored) {
    tapAt({340, 220});
    EXPECT_EQ(takeEvents(), "4096 64 ");
    down({300, 370});
    touch(platform::UITouchPhase::cancelled, {300, 370});
    EXPECT_EQ(takeEvents(), "1 256 ");
    EXPECT_EQ(panel->currentEditingMode, "stereo width");
    EXPECT_FALSE(controller->touchesLocked);
    show({340, 220});
    tapAt({300, 200});  // on the canvas this is (600, 400), outside the bounds
    EXPECT_EQ(takeEvents(), "4096 128 ");
    EXPECT_DEATH(panel->touchesBegan({}, nullptr), "empty set of touches");
    panel->viewController.reset();
    panel->touchesBegan({}, nullptr);
    panel->touchesEnded({}, nullptr);
    panel->touchesCancelled({}, nullptr);
    panel->delegate.reset();
    panel->touchesMoved({}, nullptr);
    EXPECT_EQ(takeEvents(), "");
}

TEST_F(Panel, TextsCountNaNAsZeroAndNeedAnAudioUnitWithAViewController) {
    panel->viewController.reset();
    const auto captionOf = [&](float value) {
        panel->updateParameter(kPhaseShift, value);
        const auto drawn = draw(*panel, 680, 440);
        return std::vector(&drawn->pixels()[680 * 176], &drawn->pixels()[680 * 202]);
    };
    EXPECT_TRUE(captionOf(NAN) == captionOf(0) && captionOf(1) != captionOf(0));
    panel->viewController = controller;
    controller->setAudioUnit(nullptr);
    EXPECT_DEATH(draw(*panel, 68, 44), "audio unit is missing");
}

TEST_F(Panel, LooksAsApproved) {
    const auto check = [&](const std::string& name, platform::UIView& view, double width,
                           double scale = 1) {
        const double height = std::round(width * view.bounds().height() / view.bounds().width());
        test::expectGolden(name, *draw(view, width, height, scale)->makeImage());
    };
    check("panel", *panel, 680);
    panel->setBrightness(0);
    check("panel-black", *panel, 340);
    panel->setBrightness(0.5f);
    for (int address = 0; address < 3; ++address) panel->updateParameter(address, 0.9f);
    check("panel-grey", *panel, 340);
    const float values[]{0.2f, 0.3f, 0.5f, 1, 1, 1, 1};
    for (int address = 0; address < 7; ++address) panel->updateParameter(address, values[address]);
    panel->setBrightness(1);
    check("panel-white", *panel, 340);
    panel->setBrightness(0.25f);
    check("panel-edited", *panel, 340, 2);
    panel->setNeedsDisplay(), settle(0);  // touches are in the scale of the last drawing
    const CGPoint resets[]{{216, 379}, {465, 63}};
    const CGPoint others[]{{300, 379}, {300, 60}, {575, 220}, {575, 297}};
    for (const CGPoint at : resets) down(at);
    check("panel-reset", *panel, 680);
    for (const CGPoint at : resets) tapAt(at);
    for (const CGPoint at : others) down(at);
    check("panel-held", *panel, 680);
    for (const CGPoint at : others) tapAt(at);
    check("panel-edited", *panel, 340, 2);
    controller->pluginFrame->contrast = 0.75f;
    check("frame", *controller->pluginFrame, 170);
    controller->brightnessSlider->setFrame({0, 0, 300, 32});
    check("slider", *controller->brightnessSlider, 300, 2);
    for (int i = 0; i < 2048; ++i) {
        const float at = static_cast<float>(i), mid = 0.4f * std::sin(0.031f * at);
        controller->audioUnit()->getBufferLeft()[i] = mid;
        controller->audioUnit()->getBufferRight()[i] = mid + 0.3f * std::sin(0.02f * at);
    }
    for (const std::string mode : {"points", "ovals", "lines"}) {
        controller->correlographView->baseClass.drawMode = mode;
        check("correlograph-" + mode, *controller->correlographView, 280, 1.5);
    }
}

}  // namespace
}  // namespace qov
