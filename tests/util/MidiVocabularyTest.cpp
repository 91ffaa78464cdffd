#include "util/MidiVocabulary.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "util/MyMetaEvent.h"

namespace {

using qov::midiVocabulary;

TEST(MidiVocabulary, NamesEachConstantOnceAndNumbersTheUnnamedControllersByValue) {
    std::map<std::string_view, int> sizes;
    std::set<std::string_view> names;
    for (const auto& [name, value] : midiVocabulary) {
        EXPECT_TRUE(names.insert(name).second) << name;
        ++sizes[name.substr(0, name.find('_'))];
        if (name.starts_with("CONTROLLER_") && std::isdigit(name[11])) {
            EXPECT_EQ(std::stoi(std::string(name.substr(11))), value);
            ++sizes["numbered"];
        }
    }
    EXPECT_EQ(sizes, (std::map<std::string_view, int>{
                         {"STATUS", 24}, {"CONTROLLER", 49}, {"META", 23}, {"numbered", 30}}));
    // MIDI 1.0, and two aliases that differ from it on purpose.
    EXPECT_EQ(qov::STATUS_CONTROLLER, 0xB0);
    EXPECT_EQ(qov::META_SETTEMPO, 0x51);
    EXPECT_EQ(qov::STATUS_META, qov::STATUS_RESERVED4);
    EXPECT_EQ(qov::CONTROLLER_SOUNDS_OFF, qov::CONTROLLER_NOTES_OFF);
}

TEST(MyMetaEvent, OwnsItsBytesWhateverItsSizeSays) {
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
