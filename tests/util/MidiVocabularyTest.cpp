#include "util/MidiVocabulary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

#include "util/MyMetaEvent.h"

namespace {

using qov::midiVocabulary;

std::string family(std::string_view name) {
    return std::string(name.substr(0, name.find('_')));
}

TEST(MidiVocabulary, hasEveryNameOnceInItsFamily) {
    std::map<std::string, int> sizes;
    std::map<std::string_view, int> names;
    for (const auto& constant : midiVocabulary) {
        ++sizes[family(constant.name)];
        EXPECT_EQ(++names[constant.name], 1) << constant.name;
    }
    EXPECT_EQ(sizes,
              (std::map<std::string, int>{{"STATUS", 24}, {"CONTROLLER", 49}, {"META", 23}}));
}

TEST(MidiVocabulary, numbersItsUnnamedControllersByTheirValue) {
    int numbered = 0;
    for (const auto& [name, value] : midiVocabulary)
        if (const auto digits = name.substr(name.find('_') + 1);
            family(name) == "CONTROLLER" && std::ranges::all_of(digits, ::isdigit)) {
            EXPECT_EQ(std::stoi(std::string(digits)), value) << name;
            ++numbered;
        }
    EXPECT_EQ(numbered, 3 + 16 + 11);
}

TEST(MidiVocabulary, agreesWithTheStandardButForItsAliases) {
    // MIDI 1.0: channel messages, controllers of the effect, meta events of files
    EXPECT_EQ(qov::STATUS_NOTEOFF, 0x80);
    EXPECT_EQ(qov::STATUS_PPRESSURE, 0xA0);
    EXPECT_EQ(qov::STATUS_CONTROLLER, 0xB0);
    EXPECT_EQ(qov::STATUS_PITCHBEND, 0xE0);
    EXPECT_EQ(qov::STATUS_TIMINGCLOCK, 0xF8);
    EXPECT_EQ(qov::CONTROLLER_VOLUME, 7);
    EXPECT_EQ(qov::CONTROLLER_PAN, 10);
    EXPECT_EQ(qov::CONTROLLER_EXPRESSION, 11);
    EXPECT_EQ(qov::CONTROLLER_SUSTAIN2, 76);
    EXPECT_EQ(qov::META_EOT, 0x2F);
    EXPECT_EQ(qov::META_SETTEMPO, 0x51);
    EXPECT_EQ(qov::META_SMTPOFFSET, 0x54);

    EXPECT_EQ(qov::STATUS_META, 0xFD);
    EXPECT_EQ(qov::STATUS_META, qov::STATUS_RESERVED4);
    EXPECT_EQ(qov::CONTROLLER_SOUNDS_OFF, 123);
    EXPECT_EQ(qov::CONTROLLER_SOUNDS_OFF, qov::CONTROLLER_NOTES_OFF);
    for (auto placeholder :
         {qov::META_UNKNOWN, qov::META_EXTENDEDNOTE, qov::META_AUPARAMETER, qov::META_AUPRESET})
        EXPECT_EQ(placeholder, 0xFF);
}

TEST(MyMetaEvent, ownsItsBytesWhateverItsSizeSays) {
    // a double or missing release is for the address sanitizer to see
    const auto event = qov::MyMetaEvent::init(3);
    event->mem[2] = 0x40;
    event->size = 1'000'000;
    const auto taken = qov::MyMetaEvent::init(8, static_cast<std::uint8_t*>(std::malloc(8)));
    EXPECT_EQ(taken->size, 8);
    EXPECT_TRUE(qov::MyMetaEvent::init(0)->mem);
    EXPECT_EQ(qov::MyMetaEvent::init(0, nullptr)->mem, nullptr);
    EXPECT_DEATH(qov::MyMetaEvent::init(-1), "negative");
}

}  // namespace
