#include "hosts/cli/MidiFile.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::string_literals;
using qov::cli::MidiFile;
using testing::ElementsAre;
using testing::HasSubstr;

// A file is put together as text: the two-digit words of an event are its bytes.

std::string bytes(std::string_view digits) {
    std::string result;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 3)
        result += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    return result;
}

std::string bigEndian(std::size_t value, int size) {
    std::string result;
    while (size-- > 0) result += static_cast<char>(value >> (8 * size) & 0xFF);
    return result;
}

std::string delta(std::uint32_t pulses) {
    std::string result(1, static_cast<char>(pulses & 0x7F));
    while (pulses >>= 7) result.insert(0, 1, static_cast<char>((pulses & 0x7F) | 0x80));
    return result;
}

struct Event {
    std::uint32_t delta;
    std::string digits;
};

const std::string kEnd = "FF 2F 00";

std::string track(const std::vector<Event>& events) {
    std::string content;
    for (const auto& event : events) content += delta(event.delta) + bytes(event.digits);
    return "MTrk" + bigEndian(content.size(), 4) + content;
}

std::string song(int pulsesPerQuarter, const std::vector<std::vector<Event>>& tracks) {
    auto file = "MThd" + bigEndian(6, 4) + bigEndian(tracks.size() > 1, 2) +
                bigEndian(tracks.size(), 2) +
                bigEndian(static_cast<std::size_t>(pulsesPerQuarter), 2);
    for (const auto& events : tracks) file += track(events);
    return file;
}

std::string tempo(std::uint32_t microseconds) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "FF 51 03 %02X %02X %02X", microseconds >> 16 & 0xFF,
                  microseconds >> 8 & 0xFF, microseconds & 0xFF);
    return digits;
}

MidiFile parse(const std::string& file) {
    const std::vector<std::uint8_t> bytes(file.begin(), file.end());
    return qov::cli::parseMidiFile(bytes, "song.mid");
}

const std::string kPlain = song(96, {{{0, "B0 07 64"}, {0x4000, "0A 40"}, {0, kEnd}}});

TEST(MidiFile, mergesItsTracksByTimeAndThenByTrack) {
    const auto file = parse(song(96, {{{69, tempo(400'000)}, {0, kEnd}},
                                      {{0, "90 3C 40"}, {69, "3C 00"}, {0, "C1 05"}, {1, kEnd}}}));
    EXPECT_EQ(file.format, 1);
    EXPECT_EQ(file.pulsesPerQuarter, 96);
    std::vector<std::string> lines;
    for (const auto& event : file.events)
        lines.push_back(std::to_string(event.track) + " " + std::to_string(event.pulse) + " " +
                        fmt::format("{:02X}", fmt::join(event.bytes, " ")));
    EXPECT_THAT(lines, ElementsAre("2 0 90 3C 40", "1 69 FF 51 06 1A 80", "1 69 FF 2F",
                                   "2 69 90 3C 00", "2 69 C1 05", "2 70 FF 2F"));
    EXPECT_THAT(parse(song(96, {{{0, "FF 44 80 01 7F"}, {0, kEnd}}})).events[0].bytes,
                ElementsAre(0xFF, 0x44, 0x7F))
        << "a length of two bytes";
}

TEST(MidiFile, findsTheNextEventBehindLongData) {
    for (const std::uint32_t length : {127U, 128U, 200U, 20'000U}) {
        std::string data;
        for (const auto byte : delta(length))
            data += fmt::format(" {:02X}", static_cast<std::uint8_t>(byte));
        for (std::uint32_t i = 0; i < length; ++i) data += " 61";
        for (const std::string kind : {"FF 01", "F0", "F7"}) {
            const auto file = parse(song(96, {{{0, kind + data}, {0, "90 3C 40"}, {0, kEnd}}}));
            ASSERT_EQ(file.events.size(), 3U) << kind << " " << length;
            EXPECT_EQ(file.events[0].bytes.size(), length + (kind == "FF 01" ? 2 : 1));
            EXPECT_THAT(file.events[1].bytes, ElementsAre(0x90, 0x3C, 0x40));
        }
    }
}

struct Timing {
    int pulsesPerQuarter;
    std::int64_t rate;
    std::vector<std::vector<Event>> tracks;
    std::int64_t frame;  // of the last event
};

TEST(MidiFile, putsAnEventOnItsNearestFrame) {
    const Timing timings[] = {
        {96, 44100, {{{96, kEnd}}}, 22050},                          // 120 a minute: half a second
        {480, 44100, {{{1, kEnd}}}, 46},                             // 45.9375
        {16000, 48000, {{{1, kEnd}}}, 2},                            // 1.5
        {96, 44100, {{{48, tempo(1'000'000)}, {96, kEnd}}}, 55125},  // 0.25 s + 1 s
        {96, 48000, {{{48, tempo(1'000'000)}, {48, kEnd}}, {{192, kEnd}}}, 84000},  // 0.25 + 1.5
        {96, 48000, {{{0, tempo(250'000)}, {0, tempo(750'000)}, {96, kEnd}}}, 36000},
        {1,
         10'000'000,
         {{{0, tempo(0xFFFFFF)}, {0xFFFFFFF, kEnd}}},
         45'035'993'421'578'250},  // 10 (2^28 - 1) (2^24 - 1), beyond what a double holds
    };
    for (const auto& [pulses, rate, tracks, frame] : timings)
        EXPECT_EQ(qov::cli::eventFrames(parse(song(pulses, tracks)), rate).back(), frame);
}

TEST(MidiFile, doesNotDriftOverManyTempoChanges) {
    // pulse i lasts (400000 + i) / 480 us, so n of them last (400000 n + n (n - 1) / 2) / 480 us
    std::vector<Event> events;
    constexpr std::int64_t kChanges = 20'000;
    for (std::uint32_t i = 0; i < kChanges; ++i) events.push_back({i > 0, tempo(400'000 + i)});
    events.push_back({1, kEnd});
    const std::int64_t time = 400'000 * kChanges + kChanges * (kChanges - 1) / 2;
    EXPECT_EQ(qov::cli::eventFrames(parse(song(480, {events})), 44100).back(),
              (time * 441 + 2'400'000) / 4'800'000);
}

TEST(MidiFile, playsTheControllersThatTheEffectHears) {
    const auto file = parse(song(96, {{{0, "B0 07 64"},
                                       {96, "BF 0A 00"},
                                       {0, "0B 7F"},
                                       {0, "B0 01 05"},
                                       {0, "A0 07 01"},
                                       {0, kEnd}}}));
    std::string all;
    for (const auto& event : qov::cli::midiAutomation(file, 1000)) {
        EXPECT_EQ(event.head.eventType, platform::AURenderEventMIDI);
        EXPECT_EQ(event.MIDI.length, 3);
        const auto& data = event.MIDI.data;
        all += fmt::format("{}:{},{},{} ", event.head.eventSampleTime, data[0], data[1], data[2]);
    }
    EXPECT_EQ(all, "0:176,7,100 500:191,10,0 500:191,11,127 ");
}

TEST(MidiFile, saysWhereItIsDamaged) {
    const auto with = [](std::size_t at, const std::string& text) {
        return std::string(kPlain).replace(at, text.size(), text);
    };
    const auto only = [](const char* digits) { return song(96, {{{0, digits}}}); };
    const std::pair<std::string, const char*> damages[] = {
        {"", "song.mid: byte 0: not a standard MIDI file"},
        {"RIFF", "song.mid: byte 0: not a standard MIDI file"},
        {kPlain.substr(0, 11), "byte 8: the header is cut off"},
        {kPlain.substr(0, 30), "byte 22: track 1 of 1 is cut off"},
        {with(9, "\2"), "byte 8: format 2"},
        {with(11, "\0"s), "byte 10: there are no tracks"},
        {with(11, "\2"), "byte 10: a file of format 0 has one track, not 2"},
        {with(12, "\xE7"), "byte 12: time code"},
        {with(12, "\0\0"s), "byte 12: 0 pulses"},
        {with(14, "XFIH"), "byte 14: expected \"MTrk\""},
        {with(23, "\x40"), "byte 23: a data byte where a status byte belongs"},
        {with(25, "\x80"), "byte 25: a status byte where a data byte belongs"},
        {with(26, "\xFF\xFF\xFF\xFF"), "byte 26: a number has more than four bytes"},
        {only("B0 07 64"), "track 1 of 1 has no end-of-track event"},
        {only("FF 2F 00 00"), "byte 26: track 1 of 1 goes on"},
        {only("FF 51 03 00 00 00 00 FF 2F 00"), "a tempo of 0"},
        {only("FF 51 02 00 00 00 FF 2F 00"), "a tempo event has 2 bytes of data, not 3"},
        {only("F0 7F 00"), "track 1 of 1 is cut off"},
        {only("F8 00 FF 2F 00"), "F8 is not an event of a file"},
        {song(96, {std::vector<Event>(9, {0xFFFFFFF, "90 3C 40"})}), "too long"},
    };
    for (const auto& [file, reason] : damages) {
        const auto& bytes = file;
        EXPECT_THAT(failureOf(1, [&] { parse(bytes); }), HasSubstr(reason));
    }
}

TEST(MidiFile, soundsLikeTheSameEventsOnFramesWorkedOutByHand) {
    // 120 a minute up to pulse 24 (6000 frames), then 150: 240 pulses are 0.4 s * 2.5 = 1 s
    const TemporaryFolder folder;
    write(
        folder / "midi",
        song(96,
             {{{24, tempo(400'000)}, {0, kEnd}},
              {{12, "B0 07 20"}, {24, "B5 0A 00"}, {1, "B0 0B 7F"}, {0, "B0 01 00"}, {0, kEnd}}}));
    // pulse 12: 3000; pulse 36: 6000 + 12 * 200; pulse 37: 200 more
    const auto events = "3000 midi B0 07 20\n8400 midi B5 0A 00\n"s;
    write(folder / "right", events + "8600 midi B0 0B 7F\n");
    write(folder / "late", events + "8601 midi B0 0B 7F\n");
    const auto samples = noise(20'000);
    write(folder / "in", {reinterpret_cast<const char*>(samples.data()), 4 * samples.size()});
    const auto rendered = [&](const std::string& option) {
        const auto run =
            shell("cd " + (folder / "") + " && $K render - - --raw 48000 < in " + option);
        EXPECT_EQ(run.code, 0) << run.err;
        return run.out;
    };
    const auto sound = rendered("--midi midi");
    EXPECT_EQ(sound.size(), 4 * samples.size());
    EXPECT_TRUE(sound == rendered("--automation right"));
    EXPECT_FALSE(sound == rendered("--automation late"));
    EXPECT_EQ(shell("$K render --raw 48000 - - --midi /nowhere/song.mid").code, 1);
}

}  // namespace
