#include "util/stringValue.h"

#include <iconv.h>

#include <string>

#include <gtest/gtest.h>

#include "util/capitals.h"

namespace {

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
    EXPECT_EQ(qov::stringValue(0), std::string(4, '\0'));
}

TEST(Capitals, AreTheStoredNamesByteForByte) {
    // FNV-1a over the names joined by line feeds, worked out from the list's source in Python.
    std::uint64_t hash = 0xcbf29ce484222325;
    const auto add = [&](char c) { hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3; };
    for (const auto name : qov::capitals) {
        if (name.data() != qov::capitals.front().data()) add('\n');
        for (const char c : name) add(c);
    }
    EXPECT_EQ(hash, 0xffbb9218fce52a76);
    EXPECT_EQ(qov::capitals[44], "Copenagen");
}

}  // namespace
