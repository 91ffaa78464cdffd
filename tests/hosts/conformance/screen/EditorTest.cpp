#include <functional>
#include <set>

#include "dsp/ParameterAddress.h"
#include "tests/hosts/conformance/FormatTest.h"
#include "tests/hosts/conformance/guardBodies.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/TemporaryFolder.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;
using Edit = hosts::EditExchange::Edit;

constexpr int width = 680;
constexpr int height = 536, foldedHeight = 460;  // with the strip

class Editor : public FormatTest {
 protected:
    /// The host's run loop turns and blocks are processed until the condition holds.
    static bool until(const std::vector<Plugin*>& plugins, const std::function<bool()>& condition) {
        return test::until(condition, [&] {
            usleep(5000);
            for (auto* plugin : plugins) turn(*plugin);
        });
    }
    static void turn(Plugin& plugin, const std::vector<AURenderEvent>& events = {}) {
        processAll(plugin, ramp(64), 64, events);
        plugin.idle();
    }
    static std::unique_ptr<Plugin> createWithEditor(std::uint64_t parent) {
        auto plugin = createActive(48000, 64);
        EXPECT_TRUE(plugin->openEditor(parent));
        EXPECT_TRUE(until({plugin.get()}, [] { return isDrawn(); }));
        return plugin;
    }
    /// A switch of the panel and its surroundings, where the editor's corner lies at (x, y).
    static std::vector<std::uint32_t> look(int x, int y) {
        std::vector<std::uint32_t> pixels;
        for (int row = 70; row < 110; row += 4)
            for (int column = 20; column < 140; column += 4)
                pixels.push_back(Screen::pixel(x + column, y + row));
        return pixels;
    }
    static bool isDrawn(int x = 0, int y = 0) {
        const auto pixels = look(x, y);
        return std::set(pixels.begin(), pixels.end()).size() > 2;
    }

    /// The number of gestures reported to the host; each value is in one, and none is left open.
    static int gestures(const std::vector<Edit>& edits) {
        int count = 0;
        bool isOpen = false;
        for (const auto& edit : edits) {
            EXPECT_EQ(edit.address, kStereoWidth);
            EXPECT_EQ(isOpen, edit.kind != Edit::Kind::begin);
            isOpen = edit.kind != Edit::Kind::end;
            if (!isOpen) ++count;
        }
        EXPECT_FALSE(isOpen);
        return count;
    }

    Editor() { setenv("XDG_CONFIG_HOME", settings_.path().c_str(), 1); }

    TemporaryFolder settings_;
    Screen screen_;
    std::uint64_t parent_ = Screen::makeWindow(width, height);
};

TEST_P(Editor, OpensAndClosesInEveryOrderAndEndsWithThePluginAtAnyPoint) {
    // Open and close merged with activate, process and deactivate in each order, up to each step.
    std::set<std::string> orders{"ococaocpdoc", "oapdapd"};
    std::string merged = "eesss";
    do {
        std::string order;
        const auto *editor = "oc", *sound = "apd";
        for (const char side : merged) orders.insert(order += side == 'e' ? *editor++ : *sound++);
    } while (std::ranges::next_permutation(merged).found);
    for (const auto& order : orders) {
        SCOPED_TRACE(order);
        const auto plugin = create();
        for (const char step : order) {
            if (step == 'c') plugin->closeEditor();
            if (step == 'd') plugin->deactivate();
            if (step == 'p') turn(*plugin);
            ASSERT_TRUE(step != 'o' || plugin->openEditor(parent_));
            ASSERT_TRUE(step != 'a' || plugin->activate(48000, 64));
            plugin->idle();
        }
    }
    // After all that, one that draws and processes.
    const auto plugin = createWithEditor(parent_);
    plugin->closeEditor();
    EXPECT_TRUE(until({plugin.get()}, [] { return !isDrawn(); }));
}

TEST_P(Editor, OutlivesItsParentWindow) {
    const auto plugin = createActive(48000, 64);
    for (int round = 0; round < 2; ++round) {
        const auto parent = Screen::makeWindow(width, height);
        ASSERT_TRUE(plugin->openEditor(parent));
        ASSERT_TRUE(until({plugin.get()}, [] { return isDrawn(); }));
        Screen::destroy(parent);
        for (int i = 0; i < 5; ++i) turn(*plugin, {parameterEvent(0, kSwapChannels, 1)});
        EXPECT_EQ(plugin->value(kSwapChannels), 1) << "the plug-in goes on";
        plugin->closeEditor();
    }
    ASSERT_TRUE(plugin->openEditor(parent_));
    EXPECT_TRUE(until({plugin.get()}, [] { return isDrawn(); }));
}

TEST_P(Editor, ADragIsAGestureForTheHostAndChangesTheSound) {
    const auto plugin = createWithEditor(parent_);
    plugin->takeEdits();
    std::vector<Edit> edits;
    const auto reported = [&](auto condition) {
        return until({plugin.get()}, [&] {
            for (const auto& edit : plugin->takeEdits()) edits.push_back(edit);
            return !edits.empty() && condition();
        });
    };
    Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 365 mousemove 350 225");
    // In some formats the audio thread reports edits to the host.
    plugin->idle();
    Stereo block = ramp(64);
    plugin->prepare({block.left.data(), block.right.data()},
                    {block.left.data(), block.right.data()}, 64, {});
    EXPECT_EQ(countedCalls([&] { plugin->run(); }), 0) << testing::PrintToString(countedObjects());
    // 150 points of 600 from the middle.
    EXPECT_TRUE(reported([&] { return plugin->value(kStereoWidth) == 0.75F; }));
    Screen::xdo("mouseup 1");
    EXPECT_TRUE(reported([&] { return edits.back().kind == Edit::Kind::end; }));
    EXPECT_EQ(gestures(edits), 1);
    ASSERT_GE(edits.size(), 3U) << "a value within the gesture";
    EXPECT_EQ(edits.rbegin()[1].value, 0.75F);

    const auto signal = noise(5000);
    const auto reference = createActive(48000, 512, "Instance");
    reference->setValue(kStereoWidth, 0.75F);
    for (auto* effect : {plugin.get(), reference.get()}) effect->reset();
    EXPECT_EQ(difference(processAll(*plugin, signal, 64), processAll(*reference, signal, 64)), "");
}

TEST_P(Editor, ShowsAutomationInItsOwnWindowAlone) {
    const auto one = createActive(48000, 64);
    const auto two = createActive(48000, 64);
    const auto beside = Screen::makeWindow(width, height);
    Screen::xdo("windowmove " + std::to_string(beside) + ' ' + std::to_string(width + 20) + " 0");
    const std::vector both{one.get(), two.get()};
    ASSERT_TRUE(one->openEditor(parent_));
    ASSERT_TRUE(two->openEditor(beside));
    two->resizeEditor(width / 2, height / 2);
    ASSERT_TRUE(until(both, [] { return isDrawn() && isDrawn(width + 20); }));
    const auto off = look(0, 0);
    const auto offBeside = look(width + 20, 0);
    turn(*one, {parameterEvent(5, kSwapChannels, 1)});
    EXPECT_TRUE(until(both, [&] { return look(0, 0) != off; }));
    EXPECT_EQ(look(width + 20, 0), offBeside);
    EXPECT_EQ(two->value(kSwapChannels), 0);
    EXPECT_TRUE(one->takeEdits().empty()) << "the host's own changes are no edits";
    one->setValue(kSwapChannels, 0);
    EXPECT_TRUE(until(both, [&] { return look(0, 0) == off; }));
    // The switch in the other's window, which was not the last to draw and has another scale.
    Screen::xdo("mousemove " + std::to_string(width + 60) + " 45 click 1");
    EXPECT_TRUE(until(both, [&] { return two->value(kSwapChannels) == 1; }));
    EXPECT_EQ(one->value(kSwapChannels), 0);
}

TEST_P(Editor, TakesAnySizeAndClosesDuringADrag) {
    const auto parent = Screen::makeWindow(1300, 900);
    for (int round = 0; round < 2; ++round) {
        const auto plugin = createWithEditor(parent);
        EXPECT_EQ(plugin->editorSize(), std::pair(width, height));
        const auto usual = look(0, 0);
        ASSERT_TRUE(plugin->resizeEditor(1020, 804));
        EXPECT_TRUE(
            until({plugin.get()}, [&] { return plugin->editorSize() == std::pair(1020, 804); }));
        EXPECT_TRUE(until({plugin.get()}, [] { return Screen::pixel(1000, 600) != 0; }));
        plugin->resizeEditor(1, 1);
        turn(*plugin);
        plugin->resizeEditor(width, height);
        ASSERT_TRUE(until({plugin.get()}, [&] {
            return plugin->editorSize() == std::pair(width, height) && look(0, 0) == usual;
        }));
        // The wheel turned in the drag is part of it.
        const auto isAbove = [&](float value) {
            return until({plugin.get()}, [&] { return plugin->value(kStereoWidth) > value; });
        };
        Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 370 click 4");
        ASSERT_TRUE(isAbove(0.51F));
        Screen::xdo("mousemove 350 300");
        ASSERT_TRUE(isAbove(0.6F));
        if (round == 0) {
            plugin->closeEditor();
            std::vector<Edit> edits;
            for (int turns = 0; turns < 30; ++turns) {
                turn(*plugin);
                for (const auto& edit : plugin->takeEdits()) edits.push_back(edit);
            }
            EXPECT_EQ(gestures(edits), 1);
        }
        Screen::xdo("mouseup 1");
    }
}

TEST_P(Editor, TheStripEditsInGesturesAndStaysFolded) {
    const auto plugin = createWithEditor(parent_);
    plugin->takeEdits();
    for (const auto& [hands, value] :
         {std::pair{"mousemove 400 510 click 1 mousemove 300 156 click 1", 0.75F},  // "Wider pad"
          {"mousemove 181 510 click 1", 0.5F},                                      // undo
          {"mousemove 219 510 click 1", 0.75F},                                     // redo
          // B gets a value of its own, then A is heard again
          {"mousemove 66 510 click 1 mousemove 350 375 click 4", 0.76F},
          {"mousemove 30 510 click 1", 0.75F}}) {
        Screen::xdo(hands);
        std::vector<Edit> edits;
        EXPECT_TRUE(until({plugin.get()}, [&, value = value] {
            for (const auto& edit : plugin->takeEdits()) edits.push_back(edit);
            return plugin->value(kStereoWidth) == value && !edits.empty() &&
                   edits.back().kind == Edit::Kind::end;
        })) << hands;
        EXPECT_EQ(gestures(edits), 1) << hands;
    }
    // Over the strip, Tab is the editor's; from then on it has all keys, until Esc.
    for (const auto* hands : {"mousemove 250 500", "key Tab", "key Tab", "key Return"}) {
        Screen::xdo(hands);
        for (int turns = 0; turns < 20; ++turns) usleep(5000), turn(*plugin);
    }
    EXPECT_EQ(plugin->value(kStereoWidth), 0.76F) << "B again";
    for (const int folded : {foldedHeight, height}) {
        Screen::xdo(folded == height ? "mousemove 300 450 click 1" : "mousemove 650 466 click 1");
        const auto isFolded = [&] { return plugin->editorSize() == std::pair(width, folded); };
        EXPECT_TRUE(until({plugin.get()}, isFolded));
        plugin->closeEditor();
        ASSERT_TRUE(plugin->openEditor(parent_));
        EXPECT_TRUE(until({plugin.get()}, [&] { return isFolded() && isDrawn(); }));
    }
    Screen::xdo("mousemove 181 510 click 1");
    EXPECT_TRUE(until({plugin.get()}, [&] { return plugin->value(kStereoWidth) == 0.75F; }))
        << "the history outlives the window";
}

QOV_EVERY_FORMAT(Editor);

}  // namespace
}  // namespace qov::test
