#include "hosts/window/EditorWindow.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/StereoControls.h"
#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSError.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/ViewLayer.h"
#include "tests/hosts/window/Screen.h"
#include "tests/hosts/window/TouchScreen.h"

namespace {

using namespace qov;
using hosts::EditorWindow;
using platform::CGRect;
using test::Screen;

struct Shown {
    std::unique_ptr<hosts::Instance> instance = hosts::Instance::create(
        nullptr, platform::RunLoop::create(), std::make_shared<AudioUnitViewController>());
    std::unique_ptr<EditorWindow> window;

    explicit Shown(EditorWindow::Options options = {}) {
        std::string error;
        window = EditorWindow::open(*instance, options, &error);
        if (!window) throw std::runtime_error(error);
        window->native().show();
    }
    CGRect panel() const { return window->controller().stereoControls->frame(); }
    bool until(const std::function<bool()>& condition) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            instance->runLoop()->runOnce(0.02);
            instance->pump();
        }
        return true;
    }
    bool isThere() const {
        return Screen::isViewable(window->native().handle()) &&
               window->controller().stereoControls->layer().draws() > 0;
    }
};

class Window : public testing::Test {
 protected:
    ~Window() override { platform::console::setSink(before); }

    Screen screen;
    platform::console::Sink before = platform::console::setSink({});
};

TEST_F(Window, MouseTurnsWidthSuspendsZoomsMovesAndCallsBack) {
    Shown shown;
    ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
    auto& instance = *shown.instance;
    std::vector<hosts::EditExchange::Edit::Kind> edits;

    Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 365 mousemove 350 225 mouseup 1");
    ASSERT_TRUE(shown.until([&] { return instance.value(0) == 0.75F; }))
        << "150 points of 600 from the middle; is " << instance.value(0);
    ASSERT_TRUE(shown.until([&] { return !shown.window->controller().touchesLocked; }));
    instance.edits().take([&](const auto& edit) { edits.push_back(edit.kind); });
    using Kind = hosts::EditExchange::Edit::Kind;
    EXPECT_EQ(edits, (std::vector{Kind::begin, Kind::value, Kind::end}));

    Screen::xdo("mousemove 520 297 click 1");
    ASSERT_TRUE(shown.until([&] { return instance.value(7) == 1.0F; }));
    EXPECT_TRUE(shown.window->controller().correlographView->isSuspended);
    EXPECT_EQ(instance.latency(), 0U);

    Screen::xdo("mousemove 600 420 keydown ctrl click 4 click 4 keyup ctrl");
    ASSERT_TRUE(
        shown.until([&] { return std::abs(shown.panel().size.width - 680 * 1.21) < 0.01; }));
    ASSERT_TRUE(shown.until([&] { return !shown.window->controller().pinchGesture->isActive(); }))
        << "the pinch ends by itself";
    Screen::xdo("mousemove 600 430 mousedown 1 mousemove 620 430 mousemove 700 430 mouseup 1");
    ASSERT_TRUE(shown.until([&] { return shown.panel().origin.x > 0; }));
    Screen::xdo("mousemove 640 400 click --repeat 2 --delay 60 1");
    EXPECT_TRUE(shown.until([&] { return shown.panel() == CGRect(0, 0, 680, 440); }));
}

/// One editor alone, and one inside another window: every edit by mouse and keys is one gesture.
class Hands : public Window, public testing::WithParamInterface<bool> {
 protected:
    Hands() {
        std::uint64_t parent = GetParam() ? Screen::makeWindow(700, 460) : 0;
        shown = std::make_unique<Shown>(EditorWindow::Options{.parent = parent});
        shown->window->onKey = [this](const auto&) { return ++others > 0; };
    }
    float value(int address) const {
        return shown->instance->value(static_cast<std::uint64_t>(address));
    }
    /// Steps are separated by semicolons; the window sees each before the next comes.
    void act(const std::string& hands) const {
        std::istringstream steps(hands);
        for (std::string step; std::getline(steps, step, ';');) {
            Screen::xdo(step);
            for (int turn = 0; turn < 4; ++turn) shown->instance->runLoop()->runOnce(0.02);
        }
    }
    /// What was done changed this control alone, to this value, in one gesture that has ended.
    testing::AssertionResult changes(const std::string& hands, int address, float to) {
        act(hands);
        using Edit = hosts::EditExchange::Edit;
        std::vector<Edit> edits;
        const bool ended = shown->until([&] {
            shown->instance->edits().take([&](const Edit& edit) { edits.push_back(edit); });
            return !edits.empty() && edits.back().kind == Edit::Kind::end;
        });
        int begins = 0;
        for (const auto& edit : edits)
            if (edit.address == static_cast<std::uint64_t>(address))
                begins += edit.kind == Edit::Kind::begin;
            else
                return testing::AssertionFailure() << "changes " << edit.address;
        if (ended && begins == 1 && std::abs(value(address) - to) < 1e-5F)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << hands << ": " << value(address) << " after " << begins << " gestures";
    }

    std::unique_ptr<Shown> shown;
    int others = 0;
};

TEST_P(Hands, TurnTheControlUnderTheMouse) {
    ASSERT_TRUE(shown->until([&] { return shown->isThere(); }));
    EXPECT_TRUE(changes("mousemove 300 60; key Up key Right key Down", 1, 0.51F));
    EXPECT_TRUE(changes("key shift+Up", 1, 0.511F));
    EXPECT_TRUE(changes("click 4 click 4 click 5", 1, 0.521F));
    EXPECT_TRUE(changes("keydown shift click 5 keyup shift", 1, 0.52F));
    EXPECT_TRUE(changes("click --repeat 60 4", 1, 1));
    EXPECT_TRUE(changes("mousemove 310 60 click --repeat 2 --delay 60 1", 1, 0.5F))
        << "the default";
    EXPECT_TRUE(
        changes("mousemove 350 375 keydown shift mousedown 1 mousemove 350 365 "
                "mousemove 350 225 mouseup 1 keyup shift",
                0, 0.525F))
        << "a tenth of 150 points of 600";
}

TEST_P(Hands, TypeAValueThatIsSetOnceItCanBeRead) {
    ASSERT_TRUE(shown->until([&] { return shown->isThere(); }));
    EXPECT_TRUE(
        changes("mousemove 350 375 keydown ctrl click 1 keyup ctrl; type +40%x; "
                "key Return BackSpace Return",
                0, 0.7F))
        << "the field stays open with what it refuses";
    EXPECT_TRUE(
        changes("key Return; type 0%; key Escape; key Return; key Right BackSpace BackSpace "
                "BackSpace Home Delete End; type 6; key Return",
                0, 0.73F))
        << "Esc leaves +40 %, of which 46 is made";
    others = 0;
    act("mousemove 600 220; key Return; type 7; mousemove 660 20 click 1; type 7; key z");
    EXPECT_EQ(others, GetParam() ? 0 : 2)
        << "a click beside the field closes it, and keys go where they went before";
    EXPECT_EQ(value(2), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, Hands, testing::Bool(),
                         [](const auto& of) { return of.param ? "AnotherWindow" : "ItsOwn"; });

TEST_F(Window, AScrollKeepsItsTargetUntilThePointerMovesOrItPauses) {
    Shown shown;
    ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
    // Zooming here slides the panorama's knob and bar below the pointer.
    Screen::xdo("mousemove 300 92 click --repeat 6 --delay 40 4");
    EXPECT_TRUE(shown.until([&] { return shown.panel().size.width > 680 * 1.7; }));
    EXPECT_EQ(shown.instance->value(1), 0.5F);
}

TEST_F(Window, MarksWhatTheMouseIsOverButNotWhileItIsPressed) {
    Shown shown;
    ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
    Screen::xdo("mousemove 600 420");
    for (const auto& [x, y] : {std::pair{300, 358}, std::pair{100, 74}}) {  // width, "swap"
        const auto mark = [&, x = x, y = y] { return Screen::pixel(x, y); };
        const auto bare = mark();
        Screen::xdo("mousemove " + std::to_string(x) + " " + std::to_string(y + 4));
        EXPECT_TRUE(shown.until([&] { return mark() != bare; }));
        Screen::xdo("mousedown 1");
        EXPECT_TRUE(shown.until([&] { return mark() == bare; }));
        Screen::xdo("mouseup 1");
        EXPECT_TRUE(shown.until([&] { return mark() != bare; }));
        Screen::xdo("mousemove 600 420");
        EXPECT_TRUE(shown.until([&] { return mark() == bare; }));
    }
}

TEST(TouchedWindow, FingersTurnWidthAndPinchAndLeaveNoMark) {
    const test::TouchScreen fingers;
    const auto before = platform::console::setSink({});
    {
        Shown shown;
        ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
        auto& instance = *shown.instance;
        const auto bare = Screen::pixel(300, 358);
        fingers.down(0, 350, 375);
        for (const int y : {365, 300, 225}) fingers.move(0, 350, y);
        fingers.up(0, 350, 225);
        EXPECT_TRUE(shown.until([&] { return instance.value(0) == 0.75F; }));
        EXPECT_TRUE(shown.until([&] { return !shown.window->controller().touchesLocked; }));
        std::vector<hosts::EditExchange::Edit::Kind> edits;
        instance.edits().take([&](const auto& edit) { edits.push_back(edit.kind); });
        using Kind = hosts::EditExchange::Edit::Kind;
        EXPECT_EQ(edits, (std::vector{Kind::begin, Kind::value, Kind::end}))
            << "once, and not as a mouse again";
        fingers.down(0, 350, 358);
        fingers.up(0, 350, 358);

        // 100 points apart, then 200, above and below the plate's right part.
        fingers.down(1, 600, 120);
        fingers.down(2, 600, 270);
        for (int step = 1; step <= 10; ++step) fingers.move(2, 600, 270 + 15 * step);
        EXPECT_TRUE(shown.until([&] { return shown.panel().size.width > 680 * 1.5; }))
            << shown.panel().size.width;
        fingers.up(1, 600, 120);
        fingers.up(2, 600, 420);
        EXPECT_TRUE(
            shown.until([&] { return !shown.window->controller().pinchGesture->isActive(); }));
        shown.window->controller().centerPluginView();
        EXPECT_TRUE(shown.until([&] { return Screen::pixel(300, 358) == bare; }));
    }
    platform::console::setSink(before);
}

TEST_F(Window, ShowsItsPictureAndFollowsItsSize) {
    Shown shown({.scale = 2, .size = {340, 220}});
    ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
    // Twice 340 x 220 points: the frame's grey in the corner of the panel, black outside.
    const auto grey = [&](int x, int y) { return Screen::pixel(x, y) == 0; };
    EXPECT_TRUE(shown.until([&] { return !grey(340, 12); }));
    EXPECT_TRUE(grey(900, 600));
    Screen::resize(shown.window->native().handle(), 1200, 900);
    EXPECT_TRUE(shown.until([&] { return shown.panel().size.width == 600; }));
    EXPECT_TRUE(shown.until([&] { return !grey(1100, 450); }));
    for (const platform::CGSize size : {platform::CGSize{1, 1}, platform::CGSize{4000, 3000}}) {
        shown.window->native().setSize(size);
        const auto width = std::max(560.0, size.width);  // scaled to the window below that
        EXPECT_TRUE(shown.until([&] { return std::abs(shown.panel().size.width - width) < 1e-6; }));
    }
}

TEST_F(Window, TwoEditorsOfDifferentSizesAreEachTouchedInTheirOwnScale) {
    Shown small({.size = {340, 220}}), large({.size = {680, 440}});
    ASSERT_TRUE(small.until([&] { return small.isThere(); }));
    ASSERT_TRUE(large.until([&] { return large.isThere(); }));
    Screen::move(large.window->native().handle(), 400, 300);
    const auto both = [&](const std::function<bool()>& condition) {
        return small.until([&] { return large.instance->pump(), condition(); });
    };
    // "swap channels" of each, while the other was the last to draw.
    for (int round = 0; round < 2; ++round) {
        const float expected = round == 0 ? 1.0F : 0.0F;
        Screen::xdo("mousemove 40 45 click 1");
        EXPECT_TRUE(both([&] { return small.instance->value(3) == expected; }));
        Screen::xdo("mousemove 480 390 click 1");
        EXPECT_TRUE(both([&] { return large.instance->value(3) == expected; }));
    }
}

TEST_F(Window, LivesInAForeignWindowAndSurvivesItsEnd) {
    const auto parent = Screen::makeWindow(800, 600);
    Shown shown({.parent = parent});
    bool lost = false;
    shown.window->native().onLost = [&] { lost = true; };
    ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
    EXPECT_EQ(Screen::parent(shown.window->native().handle()), parent);
    Screen::destroy(parent);
    EXPECT_TRUE(shown.until([&] { return lost; }));
    EXPECT_FALSE(shown.window->native().isAlive());
    shown.window->native().setSize({100, 100});
    shown.instance->setValue(0, 0.25F);
    shown.instance->pump();
    EXPECT_EQ(shown.instance->value(0), 0.25F) << "the rest goes on";
    std::string error;
    EXPECT_EQ(EditorWindow::open(*shown.instance, {.parent = parent}, &error), nullptr);
    EXPECT_EQ(error, "the window to live in does not exist");
}

TEST_F(Window, ClosesDuringADrag) {
    for (int round = 0; round < 3; ++round) {
        Shown shown;
        ASSERT_TRUE(shown.until([&] { return shown.isThere(); }));
        Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 300");
        ASSERT_TRUE(shown.until([&] { return shown.instance->value(0) > 0.5F; }));
        shown.window.reset();
        Screen::xdo("mouseup 1");
        shown.instance->pump();
        std::vector<hosts::EditExchange::Edit::Kind> edits;
        shown.instance->edits().take([&](const auto& edit) { edits.push_back(edit.kind); });
        EXPECT_EQ(edits.back(), hosts::EditExchange::Edit::Kind::end);
    }
}

}  // namespace
