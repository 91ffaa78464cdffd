#include <sndfile.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/app/Jack.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"

namespace {

using qov::test::Child;
using qov::test::Jack;
using qov::test::Screen;
using testing::HasSubstr;

const std::string silent = "kelvane: no JACK server answers; the effect runs in silence\n";
const std::string noServer = "no-such-server-of-kelvane";

void waitForWindow() {
    Screen::xdo("search --sync --onlyvisible --name Kelvane");
}

TEST(App, SaysInOneLineThatThereIsNoScreen) {
    unsetenv("DISPLAY");
    Child app({KELVANE, "app"});
    EXPECT_EQ(app.wait(), 1);
    EXPECT_EQ(app.errorUntil(""),
              "kelvane: no X server: the environment variable DISPLAY is not set\n");
}

TEST(App, WrongOptionsAreToldApart) {
    for (const auto& [arguments, code, line] :
         std::vector<std::tuple<std::vector<std::string>, int, std::string>>{
             {{"--size", "0x4"}, 2, "--size '0x4'"},
             {{"--scale", "99"}, 2, "--scale"},
             {{"no-such-file.wav"}, 1, "no-such-file.wav"}}) {
        std::vector<std::string> words{KELVANE, "app"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        Child app(words);
        EXPECT_EQ(app.wait(), code);
        EXPECT_THAT(app.errorUntil(""), HasSubstr(line));
    }
}

TEST(App, RunsSilentWithoutJackAndEndsByEscSignalOrCloseButton) {
    const Screen screen;
    {
        Child app({KELVANE, "app", "--jack-server", noServer});
        waitForWindow();
        Screen::xdo("mousemove 300 300 key space key Escape");
        EXPECT_EQ(app.wait(), 0);
        EXPECT_EQ(app.errorUntil(""), silent);
    }
    const std::vector<std::pair<int, std::function<void(const Child&)>>> ends{
        {128 + SIGTERM, [](const Child& app) { app.signal(SIGTERM); }},
        {0, [](const Child&) { Screen::pressCloseButton(); }},
        {0, [](const Child&) {
             Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 300");
             Screen::pressCloseButton();
             Screen::xdo("mouseup 1");
         }}};
    for (const auto& [code, end] : ends) {
        Child app({KELVANE, "app", "--no-jack"});
        waitForWindow();
        end(app);
        EXPECT_EQ(app.wait(), code);
        EXPECT_EQ(app.errorUntil(""), "");
    }
}

TEST(App, EndsWithOneLineWhenTheXServerGoes) {
    auto screen = std::make_unique<Screen>();
    Child app({KELVANE, "app", "--no-jack"});
    waitForWindow();
    screen.reset();
    EXPECT_EQ(app.wait(), 1);
    EXPECT_EQ(app.errorUntil(""), "kelvane: the X server has gone, and the window with it\n");
}

TEST(App, TheMouseChangesTheSoundOfAJackGraph) {
    const Screen screen;
    auto jack = std::make_unique<Jack>();
    const auto path = std::filesystem::temp_directory_path() /
                      ("kelvane-app-" + std::to_string(getpid()) + ".wav");
    {
        // A tone on the left alone, at a rate that is not the server's.
        SF_INFO info{};
        info.samplerate = 44100;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        auto* file = sf_open(path.c_str(), SFM_WRITE, &info);
        for (int i = 0; i < 44100; ++i) {
            const float frame[2] = {
                static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 441 * i / 44100)), 0};
            sf_writef_float(file, frame, 1);
        }
        sf_close(file);
    }
    Child app({KELVANE, "app", path.string(), "--jack-server", jack->name});
    waitForWindow();
    EXPECT_TRUE(jack->listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_TRUE(jack->hears(0.5F, 0));
    // Width from the middle to its end doubles the side: (3L - R) / 2 and (3R - L) / 2.
    Screen::xdo("mousemove 350 375 mousedown 1 mousemove 350 365 mousemove 350 75 mouseup 1");
    EXPECT_TRUE(jack->hears(0.75F, 0.25F)) << "wide";
    EXPECT_TRUE(jack->knowsLatency(2048));
    Screen::xdo("mousemove 520 297 click 1");
    EXPECT_TRUE(jack->hears(0.5F, 0)) << "suspended";
    EXPECT_TRUE(jack->knowsLatency(0));
    Screen::xdo("click 1 mousemove 60 90 click 1");
    EXPECT_TRUE(jack->hears(0.25F, 0.75F)) << "wide, and swapped";
    Screen::xdo("key space");
    EXPECT_TRUE(jack->hears(0, 0)) << "paused";

    // The server is restarted under it.
    jack.reset();
    EXPECT_THAT(app.errorUntil("in silence"), HasSubstr("the JACK server has ended"));
    Screen::xdo("key space");
    jack = std::make_unique<Jack>();
    EXPECT_TRUE(jack->listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_TRUE(jack->hears(0.25F, 0.75F)) << "as before";
    EXPECT_THAT(app.errorUntil("plays"), HasSubstr("a JACK server answers"));
    Screen::xdo("key Escape");
    EXPECT_EQ(app.wait(), 0);
    std::filesystem::remove(path);
}

TEST(App, LooksOnForAServerThatGoesBeforeItHasStartedTheClient) {
    const Screen screen;
    Jack jack;
    Child app({"env", "LD_PRELOAD=" LOST_SERVER, KELVANE, "app", "--jack-server", jack.name});
    waitForWindow();
    EXPECT_EQ(app.errorUntil("silence"), silent);
    EXPECT_TRUE(jack.listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_THAT(app.errorUntil("plays"), HasSubstr("a JACK server answers"));
    Screen::xdo("mousemove 300 300 key Escape");
    EXPECT_EQ(app.wait(), 0);
}

// A laptop's lid, a debugger, a machine with too much to do: whole cycles are missed, and the sound
// comes back.
TEST(App, PlaysOnAfterItWasStarved) {
    const Screen screen;
    Jack jack;
    Child app({KELVANE, "app", "--jack-server", jack.name});
    waitForWindow();
    EXPECT_TRUE(jack.playInto("kelvane:in left", "kelvane:in right"));
    EXPECT_TRUE(jack.listenTo("kelvane:out left", "kelvane:out right"));
    EXPECT_TRUE(jack.hears(0.5F, 0));
    for (int round = 0; round < 10; ++round) {
        app.signal(SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // 19 cycles
        app.signal(SIGCONT);
        EXPECT_TRUE(jack.hears(0.5F, 0));
    }
    Screen::xdo("mousemove 60 90 click 1");
    EXPECT_TRUE(jack.hears(0, 0.5F)) << "swapped";
    Screen::xdo("key Escape");
    EXPECT_EQ(app.wait(), 0);
    EXPECT_EQ(app.errorUntil(""), "");
}

// The time of day jumps by years to and fro; what waits, waits by the monotonic clock.
TEST(App, DoesNotNoticeThatTheTimeOfDayJumps) {
    const Screen screen;
    const auto time =
        std::filesystem::temp_directory_path() / ("kelvane-time-" + std::to_string(getpid()));
    const auto jumpTo = [&](const char* shift) { std::ofstream(time) << shift; };
    jumpTo("+0");
    const std::string server = "kelvane-test" + std::string(std::getenv("DISPLAY")).substr(1);
    Child app({"env", "LD_PRELOAD=/usr/$LIB/faketime/libfaketimeMT.so.1",
               "FAKETIME_TIMESTAMP_FILE=" + time.string(), "FAKETIME_NO_CACHE=1",
               "FAKETIME_DONT_FAKE_MONOTONIC=1", KELVANE, "app", "--jack-server", server});
    waitForWindow();
    EXPECT_EQ(app.errorUntil("silence"), silent);
    jumpTo("-20y");
    {
        Jack jack;
        EXPECT_TRUE(jack.playInto("kelvane:in left", "kelvane:in right")) << "still looked for";
        EXPECT_TRUE(jack.listenTo("kelvane:out left", "kelvane:out right"));
        EXPECT_TRUE(jack.hears(0.5F, 0));
        jumpTo("+20y");
        Screen::xdo("mousemove 60 90 click 1");
        EXPECT_TRUE(jack.hears(0, 0.5F)) << "swapped";
    }
    jumpTo("-1y");
    Screen::xdo("key Escape");
    EXPECT_EQ(app.wait(), 0);
    std::filesystem::remove(time);
}

}  // namespace
