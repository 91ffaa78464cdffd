#include "hosts/cli/MidiFile.h"

#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::string_literals;
using qov::cli::MidiFile;
using testing::HasSubstr;

/// The bytes of two-digit words.
std::string bytes(std::string_view digits) {
    std::string result;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 3)
        result += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    return result;
}

const std::string end = " FF 2F 00";

/// A file of these tracks, each as digits: the pulses before an event, then the event.
std::string song(std::size_t pulsesPerQuarter, const std::vector<std::string>& tracks) {
    auto file = "MThd" + bigEndian(6, 4) + bigEndian(tracks.size() > 1, 2) +
                bigEndian(tracks.size(), 2) + bigEndian(pulsesPerQuarter, 2);
    for (const auto& digits : tracks)
        file += "MTrk" + bigEndian(bytes(digits).size(), 4) + bytes(digits);
    return file;
}

MidiFile parse(const std::string& file) {
    return qov::cli::parseMidiFile(std::vector<std::uint8_t>(file.begin(), file.end()), "song.mid");
}

TEST(MidiFile, MergesItsTracksByTimeAndThenByTrackAndSkipsLongData) {
    const auto listed = [](const std::vector<std::string>& tracks) {
        std::string all;
        for (const auto& event : parse(song(96, tracks)).events)
            all += fmt::format("{} {:02X}, ", event.pulse, fmt::join(event.bytes, " "));
        return all;
    };
    EXPECT_EQ(listed({"45 FF 51 03 06 1A 80 00" + end, "00 90 3C 40 45 3C 00 00 C1 05 01" + end}),
              "0 90 3C 40, 69 FF 51 06 1A 80, 69 FF 2F, 69 90 3C 00, 69 C1 05, 70 FF 2F, ");
    for (const auto& [length, digits] :
         {std::pair{127, "7F"}, {128, "81 00"}, {200, "81 48"}, {20'000, "81 9C 20"}})
        for (const std::string kind : {"FF 01", "F0", "F7"}) {
            std::string data;
            for (int i = 0; i < length; ++i) data += " 61";
            EXPECT_EQ(listed({"00 " + kind + " " + digits + data + " 00 90 3C 40 00" + end}),
                      "0 " + kind + data + ", 0 90 3C 40, 0 FF 2F, ")
                << length;
        }
}

TEST(MidiFile, PutsAnEventOnItsNearestFrameWithoutDrift) {
    struct Case {
        std::size_t pulsesPerQuarter;
        std::int64_t rate;
        std::vector<std::string> tracks;
        std::int64_t frame;  // of the last event
    };
    // Pulse i lasts (400,000 + i) / 480 us, so n of them last (400,000 n + n (n - 1) / 2) / 480 us.
    constexpr std::int64_t changes = 20'000;
    std::string accelerando;
    for (int i = 0; i < changes; ++i)
        accelerando +=
            fmt::format("{:02X} FF 51 03 {:02X} {:02X} {:02X} ", i > 0, (400'000 + i) >> 16,
                        (400'000 + i) >> 8 & 0xFF, (400'000 + i) & 0xFF);
    const auto microseconds = 400'000 * changes + changes * (changes - 1) / 2;
    const std::string slow = "FF 51 03 0F 42 40 ";  // a quarter a second
    for (const auto& [pulses, rate, tracks, frame] : {
             Case{96, 44100, {"60" + end}, 22050},             // 120 a minute: half a second
             {480, 44100, {"01" + end}, 46},                   // 45.9375
             {16000, 48000, {"01" + end}, 2},                  // 1.5
             {96, 44100, {"30 " + slow + "60" + end}, 55125},  // 0.25 s + 1 s
             {96, 48000, {"30 " + slow + "30" + end, "81 40" + end}, 84000},
             {96, 48000, {"00 FF 51 03 03 D0 90 00 FF 51 03 0B 71 B0 60" + end}, 36000},
             {480, 44100, {accelerando + "01" + end}, (microseconds * 441 + 2'400'000) / 4'800'000},
             // 10 (2^28 - 1) (2^24 - 1), beyond what a double holds
             {1, 10'000'000, {"00 FF 51 03 FF FF FF FF FF FF 7F" + end}, 45'035'993'421'578'250},
         })
        EXPECT_EQ(qov::cli::eventFrames(parse(song(pulses, tracks)), rate).back(), frame);
}

TEST(MidiFile, NamesTheByteWhereItIsDamaged) {
    const auto plain = song(96, {"00 B0 07 64 81 80 00 0A 40 00" + end});
    const auto with = [&](std::size_t at, const std::string& text) {
        return std::string(plain).replace(at, text.size(), text);
    };
    const auto only = [](const char* digits) { return song(96, {digits}); };
    std::string hours;
    for (int i = 0; i < 9; ++i) hours += "FF FF FF 7F 90 3C 40 ";
    const std::pair<std::string, const char*> damages[] = {
        {"", "song.mid: byte 0: not a standard MIDI file"},
        {plain.substr(0, 11), "byte 8: the header is cut off"},
        {plain.substr(0, 30), "byte 22: track 1 of 1 is cut off"},
        {with(9, "\2"), "byte 8: format 2"},
        {with(11, "\0"s), "byte 10: there are no tracks"},
        {with(11, "\2"), "byte 10: a file of format 0 has one track, not 2"},
        {with(12, "\xE7"), "byte 12: time code"},
        {with(12, "\0\0"s), "byte 12: 0 pulses"},
        {with(14, "XFIH"), "byte 14: expected \"MTrk\""},
        {with(23, "\x40"), "byte 23: a data byte where a status byte belongs"},
        {with(25, "\x80"), "byte 25: a status byte where a data byte belongs"},
        {with(26, "\xFF\xFF\xFF\xFF"), "byte 26: a number has more than four bytes"},
        {only("00 B0 07 64"), "track 1 of 1 has no end-of-track event"},
        {only("00 FF 2F 00 00"), "byte 26: track 1 of 1 goes on"},
        {only("00 FF 51 03 00 00 00 00 FF 2F 00"), "a tempo of 0"},
        {only("00 FF 51 02 00 00 00 FF 2F 00"), "a tempo event has 2 bytes of data, not 3"},
        {only("00 F0 7F 00"), "track 1 of 1 is cut off"},
        {only("00 F8 00 FF 2F 00"), "F8 is not an event of a file"},
        {song(96, {hours}), "too long"},
    };
    for (const auto& [file, reason] : damages)
        EXPECT_THAT(failureOf(1, [&file = file] { parse(file); }), HasSubstr(reason));
}

using MidiRender = ProgramTest;
TEST_F(MidiRender, SoundsLikeTheSameEventsOnFramesWorkedOutByHand) {
    // 120 a minute up to pulse 24 (6000 frames), then 150: 240 pulses are 0.4 s * 2.5 = 1 s
    write(folder / "midi",
          song(96, {"18 FF 51 03 06 1A 80 00" + end,
                    "0C B0 07 20 18 B5 0A 00 01 B0 0B 7F 0C 01 00 00 A0 07 01 00" + end}));
    // pulse 12: 3000; pulse 36: 6000 + 12 * 200; pulse 37: 200 more. The rest means no parameter.
    const auto events = "3000 midi B0 07 20\n8400 midi B5 0A 00\n"s;
    write(folder / "right", events + "8600 midi B0 0B 7F\n");
    write(folder / "late", events + "8601 midi B0 0B 7F\n");
    save(folder / "in.wav", {.rate = 48000, .samples = noise(20'000)});
    const auto rendered = [&](const std::string& option) {
        const auto run = kelvane("render in.wav - " + option);
        EXPECT_EQ(run.code, 0) << run.err;
        return run.out;
    };
    const auto sound = rendered("--midi midi");
    EXPECT_TRUE(sound == rendered("--automation right"));
    EXPECT_FALSE(sound == rendered("--automation late"));
}

}  // namespace
