#include <gmock/gmock.h>

#include "hosts/app/showError.h"
#include "tests/hosts/app/Jack.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace qov::test;
using testing::HasSubstr;
using Words = std::vector<std::string>;

const std::string silent = "kelvane: no JACK server answers; the effect runs in silence\n";

/// `kelvane app` with these options, run by other words, with its window on the screen if there is
/// one.
struct Started : Child {
    explicit Started(const Words& options, Words words = {})
        : Child((words.insert(words.end(), {KELVANE, "app"}),
                 words.insert(words.end(), options.begin(), options.end()), words)) {
        if (std::getenv("DISPLAY")) Screen::xdo("search --sync --onlyvisible --name Kelvane");
    }
    /// It has ended with this code, and this is all that it wrote.
    void expectEnd(int code, const std::string& lines) {
        EXPECT_EQ(wait(), code) << errorUntil("");
        EXPECT_EQ(errorUntil(""), lines);
    }
};

class App : public testing::Test {
 protected:
    App() { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }

    TemporaryFolder folder;
};

TEST_F(App, ReportsWhatIsWrongAndShowsItWithoutATerminal) {
    std::unique_ptr<Screen> screen;
    for (const bool isOnScreen : {false, true}) {
        isOnScreen ? void(screen = std::make_unique<Screen>()) : void(unsetenv("DISPLAY"));
        for (const auto& [options, code, line] : std::vector<std::tuple<Words, int, std::string>>{
                 {{"--size", "0x4"}, 2, "--size 0x4"},
                 {{"--scale", "99"}, 2, "--scale"},
                 {{"--phase-shift", "90ms"}, 2, "--phase-shift: 90ms is out of range"},
                 {{"no-such-file.wav"}, 1, "no-such-file.wav"},
                 {{"--no-jack"}, 1, "the environment variable DISPLAY is not set"}}) {
            if (isOnScreen && options[0] == "--no-jack") continue;
            Started app(options, {"setsid", "sh", "-c", "exec \"$@\" </dev/null >/dev/null", "sh"});
            if (isOnScreen) Screen::xdo("mousemove 100 100 key a key Escape");
            EXPECT_EQ(app.wait(), code) << app.errorUntil("");
            EXPECT_THAT(app.errorUntil(""), HasSubstr(line));
        }
    }
}

/// The test's time limit is the check.
TEST_F(App, AnErrorThatNobodyClosesEndsByItself) {
    const Screen screen;
    qov::app::showError("Nobody reads this.", 0.2);
}

TEST_F(App, EndsByEscSignalOrCloseButtonAndWithTheXServer) {
    auto screen = std::make_unique<Screen>();
    const std::vector<std::tuple<int, std::string, std::function<void(const Child&)>>> ends{
        {0, "", [](const auto&) { Screen::xdo("mousemove 300 300 key space key Escape"); }},
        {128 + SIGTERM, "", [](const Child& app) { app.signal(SIGTERM); }},
        {0, "",
         [](const auto&) {
             Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 300");
             Screen::pressCloseButton();
             Screen::xdo("mouseup 1");
         }},
        {1, "kelvane: the X server has gone, and the window with it\n",
         [&](const auto&) { screen.reset(); }}};
    for (const auto& [code, lines, end] : ends) {
        Started app({"--jack-server", "no-such-server-of-kelvane"});
        end(app);
        app.expectEnd(code, silent + lines);
    }
}

TEST_F(App, UndoesGesturesAndKeepsSettingsForTheNextRun) {
    const Screen screen;
    const std::string suspend = "mousemove 520 297 click 1 ", swap = "mousemove 60 90 click 1 ";
    for (const auto& [options, keys, kept] : std::vector<std::tuple<Words, std::string, Words>>{
             {{"--stereo-width", "+50%", "--swap-channels", "on"}, "", {"value.0=0.75\n"}},
             {{}, suspend + "mousemove 60 268 click 1 ", {"value.7=1\n", "picture 1 1 1\n"}},
             {{"--size", "690x450"}, "key ctrl+z key ctrl+shift+z key ctrl+z", {"value.7=1\n"}},
             {{}, swap + "key ctrl+z key ctrl+z key ctrl+shift+z", {"value.3=0\n", "size 690 450"}},
             {{}, suspend + "key ctrl+z", {"value.7=1\n"}},
             {{}, suspend, {"value.7=0\n", "value.0=0.75\n", "picture 1 1 1\n"}},
             {{}, "mousemove 300 380 click 4 key ctrl+z", {"value.0=0.75\n"}},
             {{"--preset", "0"}, "", {"value.0=0.5\n"}}}) {
        Started app(options);
        Screen::xdo(keys + " mousemove 300 300 key Escape");
        app.expectEnd(0, silent);
        std::ifstream file(folder / "kelvane/settings");
        const std::string text(std::istreambuf_iterator<char>(file), {});
        for (const auto& line : kept) EXPECT_THAT(text, HasSubstr(line)) << keys;
    }
}

// Every wait uses the monotonic clock. The first two clients open, and cannot be started.
TEST_F(App, PlaysThroughEachJackServerThatAnswersWhileTheTimeOfDayJumps) {
    const Screen screen;
    const auto time = folder / "time";
    const auto jumpTo = [&](const char* shift) { std::ofstream(time) << shift; };
    jumpTo("+0");
    {
        // 0.5 on the left alone, at a rate that is not the server's: 44100 frames of floats.
        using namespace std::string_literals;
        std::ofstream file(folder / "left.au");
        file << ".snd\0\0\0\x18\0\x05\x62\x20\0\0\0\x06\0\0\xac\x44\0\0\0\x02"s;
        for (int i = 0; i < 44100; ++i) file << "\x3f\0\0\0\0\0\0\0"s;
    }
    const std::string server = "kelvane-test" + std::string(std::getenv("DISPLAY")).substr(1);
    Started app({folder / "left.au", "--jack-server", server},
                {"env", "LD_PRELOAD=" LOST_SERVER ":/usr/$LIB/faketime/libfaketimeMT.so.1",
                 "FAKETIME_TIMESTAMP_FILE=" + time, "FAKETIME_NO_CACHE=1",
                 "FAKETIME_DONT_FAKE_MONOTONIC=1"});
    EXPECT_EQ(app.errorUntil("silence"), silent);
    jumpTo("-20y");
    auto jack = std::make_unique<Jack>();
    EXPECT_THAT(app.errorUntil("plays"), HasSubstr("a JACK server answers"));
    EXPECT_TRUE(jack->listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_TRUE(jack->hears(0.5F, 0));
    jumpTo("+20y");
    // Width from the middle to its end doubles the side: (3L - R) / 2 and (3R - L) / 2.
    for (const auto& [hands, left, right, latency] :
         std::vector<std::tuple<std::string, float, float, jack_nframes_t>>{
             {"mousemove 350 375 mousedown 1 mousemove 350 365 mousemove 350 75 mouseup 1", 0.75F,
              0.25F, 2048},
             {"mousemove 520 297 click 1", 0.5F, 0.0F, 0},             // suspended
             {"click 1 mousemove 60 90 click 1", 0.25F, 0.75F, 2048},  // swapped
             {"key space", 0.0F, 0.0F, 2048}}) {                       // paused
        Screen::xdo(hands);
        EXPECT_TRUE(jack->hears(left, right)) << hands;
        EXPECT_TRUE(jack->knowsLatency(latency)) << hands;
    }

    // The server is restarted under it.
    jack.reset();
    EXPECT_THAT(app.errorUntil("goes on"), HasSubstr("the JACK server has ended"));
    jack = std::make_unique<Jack>();
    EXPECT_TRUE(jack->listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_TRUE(jack->playInto("kelvane:in left", "kelvane:in right"));
    EXPECT_TRUE(jack->hears(0.25F, 0.75F)) << "the input, as before";
    // A laptop's lid, a debugger, a machine with too much to do: whole cycles are missed.
    for (int round = 0; round < 10; ++round) {
        app.signal(SIGSTOP);
        usleep(100'000);  // 19 cycles
        app.signal(SIGCONT);
        EXPECT_TRUE(jack->hears(0.25F, 0.75F));
    }
    jumpTo("-1y");
    Screen::xdo("key Escape");
    EXPECT_TRUE(jack->hears(0.25F, 0.75F)) << "one Esc does not end a client";
    Screen::xdo("key Escape");
    EXPECT_EQ(app.wait(), 0) << app.errorUntil("");
}

}  // namespace
