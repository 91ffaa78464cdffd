#include <memory>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/hosts/app/Jack.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"

namespace qov::test {
namespace {

struct Format {
    const char* type;  // as its sessions name it
    const char* file;
};

class Qtractor : public testing::TestWithParam<Format> {
 protected:
    /// With a session that plays its input through the effect to its output.
    Qtractor() {
        shell("sed 's|@FOLDER@|" + folder_.path() + "|; s|@TYPE@|" + GetParam().type +
              "|; s|@FILE@|" + GetParam().file + "|' " SCRIPTS "/session.qtr >" + session_);
    }

    /// The host with the session, which gets our tone.
    std::unique_ptr<Child> start() {
        const std::string plugins = PLUGINS;
        auto host = std::make_unique<Child>(std::vector<std::string>{
            "env", "HOME=" + folder_.path(), "XDG_RUNTIME_DIR=" + folder_.path(),
            "JACK_DEFAULT_SERVER=" + jack_.name, "CLAP_PATH=" + plugins + "/clap",
            "VST3_PATH=" + plugins + "/vst3", "LV2_PATH=" + plugins + "/lv2:/usr/lib/lv2",
            "LD_PRELOAD=" SEQUENCER, "qtractor", session_});
        EXPECT_TRUE(jack_.playInto("Qtractor:Master/in_1", "Qtractor:Master/in_2"));
        EXPECT_TRUE(jack_.listenTo("Qtractor:Master/out_1", "Qtractor:Master/out_2"));
        return host;
    }
    Screen screen_;
    Jack jack_;
    TemporaryFolder folder_;
    const std::string session_ = folder_ / "kelvane.qtr";
};

TEST_P(Qtractor, PlaysEditsSavesAndLoads) {
    auto host = start();
    EXPECT_TRUE(jack_.hears(0.5F, 0));
    Screen::xdo("search --sync --onlyvisible --name kelvane.qtr");
    Screen::xdo("mousemove 739 38 click 1");  // the mixer
    Screen::xdo("search --sync --onlyvisible --name ^Mixer");
    Screen::xdo("mousemove 797 271 click --repeat 2 --delay 60 1");  // the effect in it
    // Darker than the host's windows, brighter than the screen behind them.
    const auto isDrawn = [] {
        const auto blue = Screen::pixel(100, 960) & 0xff;
        return blue > 0x20 && blue < 0x60;
    };
    ASSERT_TRUE(until(isDrawn)) << "the editor is shown";
    Screen::xdo("mousemove 60 631 click 1");  // its switch that swaps the channels
    EXPECT_TRUE(jack_.hears(0, 0.5F));
    const std::regex isSwapped("<param [^>]*\"Swap Channels\"[^>]*>1<");
    // The button works once the host has noticed the change.
    EXPECT_TRUE(until([&] {
        Screen::xdo("mousemove 95 38 click 1");
        return std::regex_search(contents(session_), isSwapped);
    })) << contents(session_);

    host.reset();
    host = start();
    EXPECT_TRUE(jack_.hears(0, 0.5F)) << "as it was saved";
}

// Debian builds it without VST3.
INSTANTIATE_TEST_SUITE_P(Formats, Qtractor,
                         testing::Values(Format{"CLAP", PLUGINS "/clap/kelvane/kelvane.clap"},
                                         Format{"LV2", "urn:qov:kelvane"}),
                         [](const auto& format) { return format.param.type; });

}  // namespace
}  // namespace qov::test
