#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <string>

#include <gmock/gmock.h>

#include "tests/hosts/app/Jack.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"

namespace fs = std::filesystem;

namespace qov::test {
namespace {

struct Format {
    const char* type;  // as its sessions name it
    const char* file;
};

/// What its input hears goes through the effect to its output.
std::string sessionWith(const Format& format, const fs::path& folder) {
    return "<!DOCTYPE qtractorSession>\n<session version='0.9' name='kelvane'>"
           "<properties><directory>" +
           folder.string() +
           "</directory><sample-rate>48000</sample-rate></properties>"
           "<devices><audio-engine><audio-bus mode='duplex' name='Master'>"
           "<monitor>1</monitor><channels>2</channels><auto-connect>0</auto-connect>"
           "<output-plugins><plugin type='" +
           format.type + "'><filename>" + format.file +
           "</filename><index>0</index><label>QOV Kelvane</label><activated>1</activated>"
           "<editor-pos>0,540</editor-pos></plugin></output-plugins>"
           "</audio-bus></audio-engine></devices></session>\n";
}

class Qtractor : public testing::TestWithParam<Format> {
 protected:
    Qtractor() {
        auto name = (fs::temp_directory_path() / "kelvane-qtractor-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        session_ = folder_ / "kelvane.qtr";
        std::ofstream(session_) << sessionWith(GetParam(), folder_);
    }
    ~Qtractor() override { fs::remove_all(folder_); }

    /// The host with the session, our tone in its ear.
    std::unique_ptr<Child> start() {
        const std::string plugins = PLUGINS;
        auto host = std::make_unique<Child>(std::vector<std::string>{
            "env", "HOME=" + folder_.string(), "XDG_RUNTIME_DIR=" + folder_.string(),
            "JACK_DEFAULT_SERVER=" + jack_.name, "CLAP_PATH=" + plugins + "/clap",
            "VST3_PATH=" + plugins + "/vst3", "LV2_PATH=" + plugins + "/lv2:/usr/lib/lv2",
            "LD_PRELOAD=" SEQUENCER, "qtractor", session_.string()});
        EXPECT_TRUE(jack_.playInto("Qtractor:Master/in_1", "Qtractor:Master/in_2"));
        EXPECT_TRUE(jack_.listenTo("Qtractor:Master/out_1", "Qtractor:Master/out_2"));
        return host;
    }
    std::string saved() const {
        std::ifstream file(session_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    Screen screen_;
    Jack jack_;
    fs::path folder_, session_;
};

TEST_P(Qtractor, HearsEditsSavesAndLoads) {
    auto host = start();
    EXPECT_TRUE(jack_.hears(0.5F, 0));
    Screen::xdo("search --sync --onlyvisible --name kelvane.*Qtractor");
    Screen::xdo("mousemove 739 38 click 1");  // the mixer
    Screen::xdo("search --sync --onlyvisible --name ^Mixer");
    Screen::xdo("mousemove 797 271 click --repeat 2 --delay 60 1");  // the effect in it
    // Darker than the host's windows, brighter than the screen behind them.
    const auto isDrawn = [] {
        const auto blue = Screen::pixel(100, 960) & 0xff;
        return blue > 0x20 && blue < 0x60;
    };
    ASSERT_TRUE(until(isDrawn)) << "the editor shows itself";
    Screen::xdo("mousemove 60 631 click 1");  // its switch that swaps the channels
    EXPECT_TRUE(jack_.hears(0, 0.5F));
    const std::regex isSwapped("<param [^>]*\"Swap Channels\"[^>]*>1<");
    // The button that saves works as soon as the host has noticed that there is something to.
    EXPECT_TRUE(until([&] {
        Screen::xdo("mousemove 95 38 click 1");
        return std::regex_search(saved(), isSwapped);
    })) << saved();

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
