#include "hosts/window/EditorWindow.h"

#include <gmock/gmock.h>

#include "editor/AudioUnitViewController.h"
#include "editor/StereoControls.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/EmbeddedEditor.h"
#include "hosts/window/fitPanel.h"
#include "hosts/window/panelHelp.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/ViewLayer.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/TouchScreen.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace qov;
using hosts::EditorWindow;
using test::Screen;
using Edit = hosts::EditExchange::Edit;

/// An editor that has come up on the screen.
struct Shown {
    explicit Shown(const EditorWindow::Options& options = {}) {
        platform::console::setSink({});
        std::string error;
        window = EditorWindow::open(*instance, options, &error);
        if (!window) throw std::runtime_error(error);
        window->native().show();
        if (!until([&] { return window->controller().stereoControls->layer().draws() > 0; }))
            throw std::runtime_error("the editor does not come up");
    }
    bool until(const std::function<bool()>& condition) const {
        return test::until(condition, [&] {
            instance->runLoop()->runOnce(0.02);
            instance->pump();
        });
    }
    /// Steps are separated by semicolons; the window sees each before the next comes.
    void act(const std::string& hands) const {
        std::istringstream steps(hands);
        for (std::string step; std::getline(steps, step, ';');) {
            Screen::xdo(step);
            for (int turn = 0; turn < 4; ++turn) instance->runLoop()->runOnce(0.02);
        }
    }
    /// Waits until this control alone has got this value, in one gesture that has ended.
    void expect(std::uint64_t address, float value, const std::string& hands) const {
        std::vector<Edit::Kind> kinds;
        EXPECT_TRUE(until([&] {
            instance->edits().take([&](const Edit& edit) {
                EXPECT_EQ(edit.address, address) << hands;
                if (kinds.empty() || kinds.back() != edit.kind) kinds.push_back(edit.kind);
            });
            return !kinds.empty() && kinds.back() == Edit::Kind::end;
        })) << hands;
        EXPECT_EQ(kinds, (std::vector{Edit::Kind::begin, Edit::Kind::value, Edit::Kind::end}))
            << hands;
        EXPECT_NEAR(instance->value(address), value, 1e-5) << hands;
    }
    double panelWidth() const { return window->controller().stereoControls->frame().width(); }
    bool isPinching() const { return window->controller().pinchGesture->isActive(); }

    std::unique_ptr<hosts::Instance> instance = hosts::Instance::create(
        nullptr, platform::RunLoop::create(), std::make_shared<AudioUnitViewController>());
    std::unique_ptr<EditorWindow> window;
};

class OnScreen : public testing::Test {
    Screen screen;
};

/// One editor alone, and one inside another window: every edit by mouse and keys is one gesture.
TEST_F(OnScreen, MouseWheelAndKeysEditTheControlUnderThePointer) {
    for (const bool isInside : {false, true}) {
        const Shown shown({.parent = isInside ? Screen::makeWindow(700, 460) : 0});
        int others = 0;
        shown.window->onKey = [&](const auto&) { return ++others > 0; };
        for (const auto& [hands, address, value] : std::vector<std::tuple<std::string, int, float>>{
                 {"mousemove 300 60; key Up key Right key Down", 1, 0.51F},
                 {"key shift+Up", 1, 0.511F},
                 {"click 4 click 4 click 5", 1, 0.521F},
                 {"keydown shift click 5 keyup shift", 1, 0.52F},
                 {"click --repeat 60 4", 1, 1.0F},
                 {"mousemove 255 60 click 1 mousemove 425 60 click 1; key Down", 1, 0.99F},
                 {"mousemove 310 60 click --repeat 2 --delay 60 1", 1, 0.5F},  // the default
                 // 150 points of 600, and a tenth of them.
                 {"mousemove 350 375 mousedown 1 mousemove 350 365 mousemove 350 225 mouseup 1", 0,
                  0.75F},
                 {"mousemove 350 375 keydown shift mousedown 1 mousemove 350 385 mousemove 350 525 "
                  "mouseup 1 keyup shift",
                  0, 0.725F},
                 // The field stays open with what it refuses.
                 {"mousemove 350 375 keydown ctrl click 1 keyup ctrl; type +40%x; "
                  "key Return BackSpace Return",
                  0, 0.7F},
                 {"key Return; type +150%; key Return BackSpace BackSpace Return", 0, 0.575F},
                 {"key Return; type 0.7; key Return", 0, 0.7F},
                 // Esc leaves +40 %, of which 46 is made.
                 {"key Return; type 0%; key Escape; key Return; key Right BackSpace BackSpace "
                  "BackSpace Home Delete End; type 6; key Return",
                  0, 0.73F}}) {
            shown.act(hands);
            shown.expect(static_cast<std::uint64_t>(address), value, hands);
        }
        // Of a long text the caret's end is shown, near the field's right edge.
        shown.act("key Return; type " + std::string(30, '1'));
        EXPECT_EQ(Screen::pixel(422, 379), 0xFFC837U);
        shown.act("key Escape");
        others = 0;
        shown.act("mousemove 600 220; key Return; type 7; mousemove 660 20 click 1; type 7; key z");
        EXPECT_EQ(others, isInside ? 0 : 2)
            << "a click beside the field closes it, and keys go where they went before";
        EXPECT_EQ(shown.instance->value(2), 0);
    }
}

TEST_F(OnScreen, ZoomsMovesAndCallsBackAndAScrollKeepsItsTarget) {
    const Shown shown;
    const auto isWide = [&](double width) {
        return shown.until([&] { return std::abs(shown.panelWidth() - width) < 0.01; });
    };
    // A pointer that has moved decides anew: zoom, turn, zoom.
    shown.act("mousemove 600 420 click 4 mousemove 300 60 click 5 mousemove 600 420");
    shown.act("keydown ctrl click 4 keyup ctrl");
    EXPECT_TRUE(isWide(680 * 1.21));
    EXPECT_TRUE(shown.until([&] { return !shown.isPinching(); })) << "the pinch ends by itself";
    shown.act("mousemove 600 430 mousedown 1 mousemove 620 430 mousemove 700 430 mouseup 1");
    const auto& panel = *shown.window->controller().stereoControls;
    EXPECT_TRUE(shown.until([&] { return panel.frame().minX() > 0; }));
    shown.act("mousemove 640 400 click --repeat 2 --delay 60 1");
    EXPECT_TRUE(isWide(680));
    EXPECT_EQ(panel.frame().minX(), 0);
    // This zoom slides the panorama's knob and bar below the pointer.
    shown.act("mousemove 300 92 click --repeat 6 --delay 40 4");
    EXPECT_TRUE(isWide(680 * std::pow(1.1, 6)));
    EXPECT_NEAR(shown.instance->value(1), 0.49F, 1e-5) << "turned once";
}

TEST_F(OnScreen, EveryPartOfThePanelHasATooltipOfNameValueAndKeys) {
    const Shown shown;
    const auto tooltip = [&](const std::string& mode) {
        std::string text;
        for (const auto& line : hosts::panelHelp(mode, *shown.instance)) text += line.text + '\n';
        return text;
    };
    for (int x = 0; x < 680; x += 4)
        for (int y = 0; y < 440; y += 4) {
            const auto mode = shown.window->modeAt({1.0 * x, 1.0 * y});
            EXPECT_EQ(tooltip(mode).empty(), mode.empty()) << mode;
        }
    for (const auto& [mode, text] : {std::pair{"stereo width", "Stereo Width: 0 %\nDrag"},
                                     {"panorama", "Panorama: C\nDrag"},
                                     {"swap channels", "Swap Channels: off\nClick"},
                                     {"reset1", "Reset panorama\nClick"},
                                     {"reset2", "Reset stereo width\nClick"}})
        EXPECT_THAT(tooltip(mode), testing::StartsWith(text));
    EXPECT_EQ(hosts::refusal(0, 1.5F, *shown.instance), "Out of range: -100 % to +100 %");
    EXPECT_THAT(hosts::refusal(2, {}, *shown.instance), testing::HasSubstr("write 5 ms"));
}

TEST_F(OnScreen, MarksWhatTheMouseIsOverButNotWhileItIsPressed) {
    const Shown shown;
    Screen::xdo("mousemove 600 420");
    const auto width = Screen::pixel(300, 358), swap = Screen::pixel(100, 74);
    for (const auto& [hands, isOverWidth, isOverSwap] :
         {std::tuple{"mousemove 300 362", true, false},
          {"mousedown 1", false, false},
          {"mouseup 1", true, false},
          {"mousemove 100 78", false, true}}) {
        Screen::xdo(hands);
        EXPECT_TRUE(shown.until([&, isWidth = isOverWidth, isSwap = isOverSwap] {
            return (Screen::pixel(300, 358) != width) == isWidth &&
                   (Screen::pixel(100, 74) != swap) == isSwap;
        })) << hands;
    }
}

TEST(TouchedWindow, FingersTurnWidthAndPinchAndLeaveNoMark) {
    const test::TouchScreen fingers;
    const Shown shown;
    const auto bare = Screen::pixel(300, 358);
    fingers.touch(0, fingers.down, 350, 375);
    for (const int y : {365, 300, 225}) fingers.touch(0, fingers.move, 350, y);
    fingers.touch(0, fingers.up, 350, 225);
    shown.expect(0, 0.75F, "once, and not as a mouse again");
    Screen::xdo("keydown shift");
    fingers.touch(0, fingers.down, 350, 375);
    for (const int phase : {fingers.down, fingers.up}) fingers.touch(1, phase, 600, 420);
    for (const int phase : {fingers.move, fingers.up}) fingers.touch(0, phase, 350, 225);
    Screen::xdo("keyup shift");
    shown.expect(0, 0.775F, "a tenth of the way, and a second finger changes nothing");
    // 100 points apart, then 200, above and below the plate's right part.
    fingers.touch(1, fingers.down, 600, 120);
    fingers.touch(2, fingers.down, 600, 270);
    for (int y = 285; y <= 420; y += 15) fingers.touch(2, fingers.move, 600, y);
    EXPECT_TRUE(shown.until([&] { return shown.panelWidth() > 680 * 1.5; }));
    fingers.touch(1, fingers.up, 600, 120);
    fingers.touch(2, fingers.up, 600, 420);
    EXPECT_TRUE(shown.until([&] { return !shown.isPinching(); }));
    shown.window->controller().centerPluginView();
    EXPECT_TRUE(shown.until([&] { return Screen::pixel(300, 358) == bare; }));
}

TEST_F(OnScreen, FollowsItsSizeInPixelsAndNeedsItsParent) {
    // Twice 340 x 220 points: the frame's grey in the corner of the panel, black outside.
    const Shown shown({.scale = 2, .size = {340, 220}});
    const auto isBlack = [](int x, int y) { return Screen::pixel(x, y) == 0; };
    EXPECT_TRUE(isBlack(900, 600));
    Screen::xdo("search --class org.qov.kelvane");
    Screen::xdo("windowsize " + std::to_string(shown.window->native().handle()) + " 600 400");
    EXPECT_TRUE(shown.until([&] { return isBlack(640, 200) && !isBlack(560, 200); }));
    std::string error;
    EXPECT_EQ(EditorWindow::open(*shown.instance, {.parent = 0x7FFFFF}, &error), nullptr);
    EXPECT_EQ(error, "the parent window does not exist");
}

TEST_F(OnScreen, PanelAndStripShareAWindowThatDoesNotGrow) {
    const TemporaryFolder settings;
    setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
    const auto instance = hosts::Instance::create(nullptr, platform::RunLoop::create(),
                                                  std::make_shared<AudioUnitViewController>());
    hosts::EmbeddedEditor editor(*instance, 1);
    editor.requestSize = [](auto) { return false; };
    ASSERT_TRUE(editor.open({.parent = Screen::makeWindow(680, 460)}, nullptr) && editor.show());
    ASSERT_TRUE(editor.setSize({680, 460}));
    const auto isWidthAt = [&](int x, int y) {
        return test::until([&] { return editor.controlAt(x, y) == 0; },
                           [&] { instance->runLoop()->runOnce(0.02); });
    };
    EXPECT_TRUE(isWidthAt(349, 322)) << "all at 460 of 536 points";
    Screen::xdo("mousemove 606 400 click 1");
    EXPECT_TRUE(isWidthAt(350, 379)) << "folded, at its own size";
    EXPECT_EQ(editor.size().height, 460);
    editor.requestSize = [&](auto size) { return size.height < editor.size().height; };
    ASSERT_TRUE(editor.setSize({680, 461}));
    Screen::xdo("mousemove 300 450 click 1");
    EXPECT_TRUE(isWidthAt(349, 322)) << "shown, and not given more";
    Screen::xdo("mousemove 606 400 click 1");
    EXPECT_TRUE(isWidthAt(350, 379)) << "folded, and nothing taken";
    EXPECT_EQ(editor.size().height, 461);
}

/// Else the panel is cut off, or narrower than its correlograph has room in.
TEST(Fit, ThePanelIsWholeInWindowsOfAnySizeAndShape) {
    for (const auto& [width, height] : {std::pair{680.0, 440.0},
                                        {390, 300},
                                        {320, 568},
                                        {1200, 420},
                                        {1200, 100},
                                        {1, 1},
                                        {800, 2000}}) {
        const auto fit = hosts::fitPanel({width, height});
        const double panel = fit.fitToHeight ? height / 440 * 680 : width;
        EXPECT_NEAR(panel, std::min(width, height / 440 * 680), 1e-9) << height;
        EXPECT_NEAR(fit.scale, std::min(1.0, panel / 560), 1e-9) << width;
        const auto window = hosts::withFooter({width, height}, 96);
        const auto both = hosts::fitPanel(window, 96);
        EXPECT_NEAR(window.height - both.footer * both.scale, height, 1e-9) << "the same panel";
        EXPECT_NEAR(both.scale, fit.scale, 1e-9);
    }
}

}  // namespace
