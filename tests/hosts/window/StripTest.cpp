#include "hosts/window/Strip.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <thread>

#include "editor/AudioUnitViewController.h"
#include "hosts/window/EditorWindow.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/UIWindow.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/Stereo.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/golden.h"

namespace {

using namespace qov;
using hosts::SignalFigures;
using hosts::Strip;
using test::Screen;

/// A window with the strip, whose settings and presets are its own.
class StripWindow : public testing::Test {
 protected:
    StripWindow() {
        platform::console::setSink({});
        setenv("XDG_DATA_HOME", folder_.path().c_str(), 1);
        EXPECT_TRUE(instance_->activate(48000, 512, nullptr));
        hosts::EditorWindow::Options options{.scale = 1, .size = {680, 440 + Strip::shownHeight}};
        options.makeFooter = [this](hosts::EditorWindow& window) {
            const auto fold = [&window](bool) { window.setSize(window.wantedSize()); };
            auto strip =
                std::make_shared<Strip>(window, *instance_, Strip::Options{.onFold = fold});
            strip_ = strip.get();
            return strip;
        };
        window_ = hosts::EditorWindow::open(*instance_, options, nullptr);
        window_->native().show();
        act("mousemove 600 220");
    }
    /// Steps are separated by semicolons; the window sees each before the next comes.
    void act(const std::string& hands) {
        std::istringstream steps(hands);
        for (std::string step; std::getline(steps, step, ';');) {
            if (step == "é")  // no key of the screen's
                window_->key({platform::Key::other, {}, step});
            else
                Screen::xdo(step);
            for (int turn = 0; turn < 4; ++turn) instance_->runLoop()->runOnce(0.02);
        }
    }
    void play(const Stereo& signal) {
        test::inBlocks(signal, 512, {}, [&](const auto& in, const auto& out, auto frames, auto&) {
            instance_->process(in, out, frames);
        });
    }

    TemporaryFolder folder_;
    Screen screen_;
    std::unique_ptr<hosts::Instance> instance_ = hosts::Instance::create(
        nullptr, platform::RunLoop::create(), std::make_shared<AudioUnitViewController>());
    std::unique_ptr<hosts::EditorWindow> window_;
    Strip* strip_ = nullptr;
};

TEST_F(StripWindow, KeysReachEveryPartAndPresetsAreSavedAndChosen) {
    const auto file = folder_ / "kelvane/presets/Miné.kelvane";
    for (const auto& [hands, width, isSaved] : std::vector<std::tuple<std::string, float, bool>>{
             {"mousemove 300 380 click 4; mousemove 600 220; key ctrl+z", 0.5F, false},
             {"key ctrl+shift+z", 0.51F, false},
             {"key Tab Tab Return; key Escape", 0.51F, false},                               // B
             {"mousemove 300 380 click 4; mousemove 600 220; key Tab space", 0.51F, false},  // A
             {"key Tab Tab Return Tab Return Return", 0.52F, false},  // copied to B, all undone
             {"key Right Return Return", 0.51F, false},
             {"key Tab Tab Return; type a/b; key Return", 0.51F, false},  // refused
             {"key BackSpace BackSpace BackSpace Return; type Min;é; key Return", 0.51F, true},
             {"key shift+Tab space; key Home Down Down Down Return", 0.6F, true},
             {"key Return; key End Return", 0.51F, true},
             {"key Escape Up Tab Escape", 0.51F, true},
             {"mousemove 400 510 click 1; mousemove 5 90 click 1", 0.51F, true},  // beside it
             {"mousemove 400 510 click 1; mousemove 300 116 click 1", 0.75F, true}}) {
        act(hands);
        EXPECT_FLOAT_EQ(instance_->value(kStereoWidth), width) << hands;
        EXPECT_EQ(std::filesystem::exists(file), isSaved) << hands;
    }
    std::string error;
    const auto saved = hosts::Preset::read(file, 48000, &error);
    ASSERT_TRUE(saved) << error;
    EXPECT_EQ(saved->name + std::to_string(saved->values[kStereoWidth]), "Miné0.510000");
}

TEST_F(StripWindow, EveryPartHasATooltip) {
    for (const auto& [at, head] : {std::pair{platform::CGPoint{60, 466}, "Correlation"},
                                   {{400, 466}, "Balance"},
                                   {{500, 466}, "Peak in"},
                                   {{600, 466}, "Peak out"},
                                   {{650, 466}, "Figures, sets and presets"},
                                   {{30, 510}, "Set A"},
                                   {{219, 510}, "Redo"},
                                   {{640, 510}, "Save"}}) {
        EXPECT_TRUE(window_->hotAreaAt(at).value_or(platform::CGRect{}).contains(at));
        EXPECT_EQ(window_->helpAt(at).at(0).text, head);
    }
    EXPECT_TRUE(!window_->hotAreaAt({5, 445}) && window_->helpAt({5, 445}).empty());
}

TEST_F(StripWindow, MeasuresWhatItShowsAndNothingWhileFolded) {
    auto signal = ramp(48000);
    for (auto& sample : signal.left) sample = 0.5F * std::sin(0.01F * sample);
    for (auto& sample : signal.right) sample = 0.3F * std::sin(0.5F + 0.01F * -sample);
    signal.left[40000] = -1.5F;
    play(signal);
    instance_->meter().take();  // the first block alone
    play(signal);
    strip_->refresh();
    window_->content().update();
    test::expectGolden("strip", *window_->content().picture()->makeImage());
    EXPECT_TRUE(instance_->meter().isWatched());
    act("mousemove 650 466 click 1");
    EXPECT_FALSE(instance_->meter().isWatched());
    EXPECT_EQ(window_->native().size().height, 440 + Strip::foldedHeight);
    play(signal);
    EXPECT_FALSE(instance_->meter().take());
    act("mousemove 300 450 click 1");
    EXPECT_TRUE(instance_->meter().isWatched());
}

/// Half the left channel on the right, and what a figure makes of it in time.
TEST(SignalFigures, SmoothHoldAndFallAndEndWithTheSound) {
    SignalFigures figures;
    hosts::SignalMeter::Reading reading{
        .output = {.ll = 4, .rr = 1, .lr = 2}, .inputPeak = 0.5F, .outputPeak = 1};
    figures.add(reading, 10);
    EXPECT_NEAR(figures.correlation, 1, 1e-9);
    EXPECT_NEAR(figures.sideToMid, 20 * std::log10(0.5 / 1.5), 1e-9);
    EXPECT_NEAR(figures.balance, -6.0206, 1e-4);
    EXPECT_NEAR(figures.input.level, -6.0206, 1e-4);
    EXPECT_TRUE(figures.output.hasClipped && !figures.input.hasClipped);
    reading = {.output = {.ll = 400, .rr = 100, .lr = -200}};
    figures.add(reading, 10.1);
    EXPECT_LT(figures.correlation, -0.9);
    reading.output.lr = 20'000, reading.output.ll = 40'000, reading.output.rr = 10'000;
    figures.add(reading, 10.9);
    EXPECT_GT(figures.correlation, 0.9);
    EXPECT_LT(figures.lowestCorrelation, -0.9) << "held";
    EXPECT_NEAR(figures.input.level, -6.0206, 1e-4) << "held";
    figures.add(reading, 11.5);
    EXPECT_GT(figures.lowestCorrelation, -0.9) << "released";
    EXPECT_NEAR(figures.input.level, -6.0206 - 12, 1e-4) << "falling";
    figures.add(hosts::SignalMeter::Reading{}, 12.6);
    EXPECT_TRUE(std::isnan(figures.balance)) << "a second of silence";
    figures.add({}, 14);
    EXPECT_TRUE(std::isnan(figures.correlation) && std::isnan(figures.input.level));
    EXPECT_TRUE(figures.output.hasClipped) << "until it is clicked";
}

/// Two threads; nothing is lost or counted twice. The sanitizer looks on.
TEST(SignalMeter, HandsAllBlocksOver) {
    hosts::SignalMeter meter;
    meter.watch(true);
    constexpr int blocks = 20'000;
    const std::vector<float> ones(37, 1.0F), halves(37, -0.5F);
    std::atomic<bool> isDone = false;
    std::thread audio([&] {
        meter.handOver();
        for (int block = 0; block < blocks; ++block) {
            meter.addInput(ones.data(), halves.data(), 37);
            meter.addOutput(halves.data(), ones.data(), 37);
            meter.handOver();
        }
        while (!isDone) meter.handOver();
    });
    double ll = 0, lr = 0;
    float peak = 0;
    while (ll < 0.25 * 37 * blocks) {
        const auto reading = meter.take();
        if (!reading) continue;
        ll += reading->output.ll;
        lr += reading->output.lr;
        peak = std::max(peak, reading->inputPeak);
    }
    isDone = true;
    audio.join();
    EXPECT_DOUBLE_EQ(ll, 0.25 * 37 * blocks);
    EXPECT_DOUBLE_EQ(lr, -0.5 * 37 * blocks);
    EXPECT_EQ(peak, 1);
}

}  // namespace
