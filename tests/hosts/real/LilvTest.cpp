// The hosts that come with lilv and jalv, and the LV2 bundle.

#include <sndfile.h>

#include <filesystem>
#include <set>

#include <gmock/gmock.h>

#include "tests/hosts/app/Jack.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"

namespace qov::test {
namespace {

const std::string uri = "urn:qov:kelvane";
const std::string lv2Path = "LV2_PATH=" PLUGINS "/lv2";

TEST(Lv2Apply, GivesTheBitsOfTheCommandLine) {
    const TemporaryFolder folder;
    save(folder / "in.wav", Sound{.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT,
                                  .rate = 48000,
                                  .samples = noise(2 * 20000)});
    for (const auto& [controls, options] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"-c stereo_width 0.8 -c phase_shift 0.3", "--stereo-width 0.8 --phase-shift 0.3"},
             {"-c panorama 0.2 -c swap_channels 1 -c recover_mono 1",
              "--panorama 0.2 --swap-channels --recover-mono"},
             {"-c test_mono 1 -c invert_channel 1 -c enabled 1", "--test-mono --invert-channel"},
             {"-c enabled 0", "--bypass"}}) {
        // A frame a call, and whatever comes out of it: that is how it renders.
        const auto applied = shell(lv2Path + " lv2apply -i " + (folder / "in.wav") + " -o " +
                                   (folder / "applied.wav") + " " + controls + " " + uri);
        EXPECT_EQ(applied.code, 0) << applied.err;
        const auto rendered = shell("$K render --raw-timing --block 1 " + options + " " +
                                    (folder / "in.wav") + " " + (folder / "rendered.wav"));
        EXPECT_EQ(rendered.code, 0) << rendered.err;
        EXPECT_EQ(load(folder / "applied.wav").samples, load(folder / "rendered.wav").samples)
            << controls;
    }
}

class Jalv : public testing::Test {
 protected:
    std::unique_ptr<Child> start(const std::vector<std::string>& options) {
        std::vector<std::string> words{"env", "HOME=" + (folder_ / ""), lv2Path,
                                       "JACK_DEFAULT_SERVER=" + jack_.name, "jalv.gtk3"};
        words.insert(words.end(), options.begin(), options.end());
        words.push_back(uri);
        auto host = std::make_unique<Child>(words);
        EXPECT_TRUE(jack_.playInto("QOV Kelvane:in_left", "QOV Kelvane:in_right"));
        EXPECT_TRUE(jack_.listenTo("QOV Kelvane:out_left", "QOV Kelvane:out_right"));
        return host;
    }

    /// Rows above the editor, which fills the window below the menu; nothing while it is not drawn.
    static std::optional<int> menuHeight() {
        int top = 0;
        while (top < 100 && (Screen::pixel(400, top) & 0xff) > 0x80) ++top;
        std::set<std::uint32_t> colours;
        for (int x = 20; x < 660; x += 3) colours.insert(Screen::pixel(x, top + 75));
        return top > 0 && colours.size() > 8 ? std::optional(top) : std::nullopt;
    }

    static void drag(int x, int y, int up) {
        const auto moveTo = [&](int row) {
            return "mousemove " + std::to_string(x) + ' ' + std::to_string(row) + ' ';
        };
        Screen::xdo(moveTo(y) + "mousedown 1 " + moveTo(y - 10) + moveTo(y - up) + "mouseup 1");
    }

    Screen screen_;
    Jack jack_;
    TemporaryFolder folder_;
};

TEST_F(Jalv, ShowsTheEditorPassesSoundAndHearsADrag) {
    const auto host = start({});
    EXPECT_TRUE(jack_.hears(0.5F, 0));
    std::optional<int> menu;
    ASSERT_TRUE(until([&] { return (menu = menuHeight()).has_value(); }));
    // Width from the middle to its end doubles the side: (3L - R) / 2 and (3R - L) / 2.
    drag(350, *menu + 375, 300);
    EXPECT_TRUE(jack_.hears(0.75F, 0.25F));
}

/// As its menu saves them; a message had swapped the channels, past their port.
constexpr const char* session = R"(@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix state: <http://lv2plug.in/ns/ext/state#> .
<>
    a pset:Preset ;
    lv2:appliesTo <urn:qov:kelvane> ;
    lv2:port [ lv2:symbol "stereo_width" ; pset:value 1.0 ] ,
        [ lv2:symbol "swap_channels" ; pset:value 0.0 ] ,
        [ lv2:symbol "enabled" ; pset:value 1.0 ] ;
    state:state [
        <urn:qov:kelvane#state> """QOV Kelvane state 1
value.0=1
value.3=1
end
""" ;
        <urn:qov:kelvane#heard_ports> "1 0.5 0 0 0 0 0 1"
    ] .
)";

TEST_F(Jalv, TakesASavedSessionUp) {
    std::filesystem::create_directory(folder_ / "session");
    write(folder_ / "session/state.ttl", session);
    write(folder_ / "session/manifest.ttl",
          "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
          "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
          "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
          "<state.ttl> lv2:appliesTo <urn:qov:kelvane> ; a pset:Preset ; "
          "rdfs:seeAlso <state.ttl> .\n");
    const auto host = start({"--load=" + (folder_ / "session")});
    EXPECT_TRUE(jack_.hears(0.25F, 0.75F)) << "wide, and swapped";
}

}  // namespace
}  // namespace qov::test
