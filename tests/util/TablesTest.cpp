// The fixed names and numbers. The hashes were worked out in Python from the lists' sources.

#include <iconv.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "util/MidiVocabulary.h"
#include "util/MyMetaEvent.h"
#include "util/capitals.h"
#include "util/stringValue.h"

namespace {

/// FNV-1a.
std::uint64_t hashOf(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash;
}

TEST(Tables, AreTheStoredNamesAndValuesInTheirOrder) {
    std::string names, constants;
    for (const auto name : qov::capitals) names += std::string(name) + "\n";
    for (const auto& [name, value] : qov::midiVocabulary)
        constants += std::string(name) + " " + std::to_string(value) + "\n";
    EXPECT_EQ(hashOf(names), 0x70e3bc75b96730b4) << names;
    EXPECT_EQ(hashOf(constants), 0xf33c486b5264258d) << constants;
}

TEST(MyMetaEvent, OwnsItsBytesWhateverItsSizeSays) {
    // a double or missing release is for the address sanitizer to see
    const auto event = qov::MyMetaEvent::init(3);
    event->mem[2] = 0x40;
    event->size = 1'000'000;
    const auto taken = qov::MyMetaEvent::init(8, static_cast<std::uint8_t*>(std::malloc(8)));
    EXPECT_EQ(taken->size, 8);
    EXPECT_TRUE(qov::MyMetaEvent::init(0)->mem);
    EXPECT_DEATH(qov::MyMetaEvent::init(-1), "negative");
}

/// One byte as the C library's own table of Mac OS Roman reads it.
std::string byIconv(char byte) {
    // Where that table is not the encoding's present form: the increment sign, which it takes for
    // the Greek letter, and the private character of the system's maker.
    if (byte == '\xC6') return "\u2206";
    if (byte == '\xF0') return "\uF8FF";
    const iconv_t converter = iconv_open("UTF-8", "MACINTOSH");
    char out[8];
    char *from = &byte, *to = out;
    std::size_t inLeft = 1, outLeft = sizeof out;
    EXPECT_EQ(iconv(converter, &from, &inLeft, &to, &outLeft), 0U);
    iconv_close(converter);
    return {out, to};
}

TEST(StringValue, ReadsEveryByteInEveryPlaceAsMacOSRoman) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto character = byIconv(static_cast<char>(byte));
        EXPECT_EQ(qov::stringValue(0x61626300U | byte), "abc" + character) << byte;
        EXPECT_EQ(qov::stringValue(byte << 24 | 0x626364U), character + "bcd") << byte;
    }
}

}  // namespace
