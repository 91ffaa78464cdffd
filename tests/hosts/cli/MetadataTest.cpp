// What render carries over beside the samples.
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::literals;
using testing::HasSubstr;
using Strings = std::vector<std::pair<int, std::string>>;

std::string bigEndian(std::size_t value, int bits = 8) {
    std::string text;
    for (int i = 3; i >= 0; --i)
        text += static_cast<char>(value >> (bits * i) & ((1U << bits) - 1));
    return text;
}

std::string number(std::uint32_t value) {
    return {reinterpret_cast<const char*>(&value), 4};
}

std::string chunk(const std::string& name, const std::string& bytes) {
    return name + number(static_cast<std::uint32_t>(bytes.size())) + bytes +
           std::string(bytes.size() % 2, '\0');
}

using Frames = std::vector<std::pair<std::string, std::string>>;

/// A chunk with an ID3 tag of version 2.3.
std::string id3Chunk(const Frames& frames) {
    std::string all;
    for (const auto& [name, bytes] : frames)
        all += name + bigEndian(bytes.size()) + "\0\0"s + bytes;
    return chunk("id3 ", "ID3\3\0\0"s + bigEndian(all.size(), 7) + all);
}

std::pair<std::string, std::string> picture(const std::string& bytes) {
    return {"APIC", "\0image/png\0\3\0"s + bytes};
}

const std::string info =
    chunk("LIST", "INFO" + chunk("INAM", "Evening\0"s) + chunk("IENG", "Nobody\0"s));
/// What a recorder or a sampler writes.
const std::vector<std::string> chunks{
    chunk("bext", "take" + std::string(334, '\0') + number(158760000) + std::string(261, '\1')),
    chunk("cue ", number(1) + number(7) + number(0) + "data" + std::string(8, '\0') + number(4410)),
    chunk("LIST", "adtl" + chunk("labl", number(7) + "verse\0"s) + chunk("note", number(7) + "x"s)),
    chunk("smpl", std::string(36, '\2')),
    chunk("iXML", "<BWFXML>odd</BWFXML>!"),
    info,
};

class Metadata : public testing::Test {
 protected:
    /// Renders one file of the folder into another. Returns what standard error has.
    std::string render(const std::string& in, const std::string& out,
                       const std::string& options = " --volume 0.2") {
        const auto run = shell("cd " + (folder / "") + " && $K render " + in + " " + out + options);
        EXPECT_EQ(run.code, 0) << out << run.err;
        return run.err;
    }
    std::string bytesOf(const std::string& file) { return contents(folder / file); }

    void writeWav(const std::vector<std::string>& more) {
        save(folder / "in.wav",
             {.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16, .samples = noise(6000)});
        auto bytes = bytesOf("in.wav");
        for (const auto& added : more) bytes += added;
        bytes.replace(4, 4, number(static_cast<std::uint32_t>(bytes.size() - 8)));
        write(folder / "in.wav", bytes);
    }

    const TemporaryFolder folder;
};

TEST_F(Metadata, ChunksGoAsTheyAreIntoTheirFamilyAndABypassedFileIsCopied) {
    writeWav(chunks);
    EXPECT_EQ(render("in.wav", "same.wav", " --bypass"), "");
    EXPECT_TRUE(bytesOf("same.wav") == bytesOf("in.wav"));
    for (const auto& [from, to] : {std::pair{"in.wav", "out.wav"},
                                   {"in.wav", "out.rf64"},
                                   {"in.wav", "out.w64"},
                                   {"out.w64", "back.wav"},
                                   {"in.wav", "- > piped.wav"}})
        EXPECT_EQ(render(from, to), "") << to;
    for (const char* file : {"out.wav", "out.rf64", "back.wav", "piped.wav", "out.w64"}) {
        EXPECT_EQ(load(folder / file).samples.size(), 6000U) << file;
        if (file == "out.w64"s) continue;
        for (const auto& kept : chunks) EXPECT_THAT(bytesOf(file), HasSubstr(kept)) << file;
    }
}

TEST_F(Metadata, OtherFormatsGetWhatTheyHaveAPlaceForAndTheRestIsNamed) {
    writeWav(chunks);
    for (const auto& [file, lost] :
         {std::pair{"out.aiff", "kelvane writes no bext, note, smpl, iXML, IENG into aiff"},
          {"out.caf", "kelvane writes no bext, cue, adtl, smpl, iXML, IENG into caf"},
          {"out.flac", "kelvane writes no bext, cue, adtl, smpl, iXML, IENG into flac"},
          {"out.au", "kelvane writes no bext, cue, adtl, smpl, iXML, TITLE, IENG into au"}}) {
        EXPECT_THAT(render("in.wav", file), HasSubstr(lost));
        const auto sound = load(folder / file);
        EXPECT_EQ(sound.samples.size(), 6000U) << file;
        EXPECT_EQ(
            testing::Value(sound.strings, testing::Contains(std::pair(+SF_STR_TITLE, "Evening"s))),
            file != "out.au"s);
    }
    EXPECT_THAT(bytesOf("out.aiff"), HasSubstr("MARK\0\0\0\x0E\0\1\0\1\0\0\x11\x3A\5verse"s));
    EXPECT_EQ(render("out.aiff", "back.wav"), "");
    EXPECT_THAT(bytesOf("back.wav"), HasSubstr(number(4410)));
    EXPECT_THAT(bytesOf("back.wav"), HasSubstr("verse\0"s));
    EXPECT_EQ(render("in.wav", "quiet.caf", " -q"), "");
}

TEST_F(Metadata, TextsGoIntoEveryFormatAndTheSameInputGivesTheSameBytes) {
    const Strings texts{
        {SF_STR_TITLE, "Evening"}, {SF_STR_ARTIST, "Nobody"}, {SF_STR_COMMENT, "take"}};
    save(folder / "in.wav", {.samples = noise(2000), .strings = texts});
    for (const auto* const file : {"out.wav", "out.flac", "out.rf64", "out.ogg"}) {
        render("in.wav", file);
        const auto first = bytesOf(file);
        render("in.wav", file);
        // Ogg streams have a random number in each page.
        EXPECT_TRUE(file == "out.ogg"s || bytesOf(file) == first) << file;
        EXPECT_THAT(load(folder / file).strings, testing::IsSupersetOf(texts)) << file;
    }
}

TEST_F(Metadata, WhatIsTooLargeOrHasNoTextIsNamed) {
    const std::string large(17 << 20, 'x');
    const auto user = std::pair("TXXX"s, "\0MOOD\0calm"s);
    struct Case {
        std::string chunk;
        std::vector<const char*> files;
        const char* lost;
        std::vector<const char*> kept;
    };
    for (const auto& [more, files, lost, kept] :
         {Case{id3Chunk({picture(large), user}),
               {"out.flac"},
               "no pictures of 16 MiB or more into flac",
               {"MOOD=calm"}},
          {id3Chunk({picture("a picture"), {"TXXX", "\0LONG\0"s + large}, user}),
           {"out.flac"},
           "no LONG beyond 16 MiB of comments into flac",
           {"MOOD=calm", "a picture"}},
          {id3Chunk({picture("a picture"), user, {"PRIV", "me\0data"s}}),
           {"out.rf64", "out.w64", "out.flac"},
           "no PRIV into flac",
           {"MOOD=calm", "a picture"}},
          {id3Chunk({user, {"GEOB", "\0a/b\0f\0d\0bytes"s}}),
           {"out.mp3", "out.caf"},
           "no MOOD, GEOB into caf",
           {}},
          {info, {"out.w64", "out.flac"}, "no IENG into flac", {"TITLE=Evening"}},
          {chunk("huge", std::string((64 << 20) + 1, 'x')) + id3Chunk({user}),
           {"out.wav"},
           "no huge of more than 64 MiB into wav",
           {"MOOD"}}}) {
        writeWav({more});
        const char* from = "in.wav";
        std::string line;
        for (const char* file : files) line = render(std::exchange(from, file), file);
        EXPECT_THAT(line, testing::EndsWith("kelvane writes "s + lost + "\n"));
        EXPECT_GE(load(folder / from).samples.size(), 6000U) << lost;
        for (const char* text : kept) EXPECT_THAT(bytesOf(from), HasSubstr(text)) << lost;
    }
    save(folder / "in.aiff", {.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16, .samples = noise(600)});
    auto bytes = bytesOf("in.aiff") + "COMT\0\0\0\x0E\0\1\0\0\0\0\0\0\0\4note"s;
    write(folder / "in.aiff", bytes.replace(4, 4, bigEndian(bytes.size() - 8)));
    EXPECT_EQ(render("in.aiff", "out.aiff"), "");
    EXPECT_THAT(render("in.aiff", "out.wav"), HasSubstr("kelvane writes no COMT into wav"));
    bytes += "APPL\0\0\0\x0Cm3gaSoftware"s;
    write(folder / "in.aiff", bytes.replace(4, 4, bigEndian(bytes.size() - 8)));
    EXPECT_THAT(render("in.aiff", "out.flac"), HasSubstr("no COMT, APPL into flac"));
    EXPECT_THAT(bytesOf("out.flac"), testing::Not(HasSubstr("Software")));
    save(folder / "in.wav",
         {.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, .samples = noise(600)});
    bytes = bytesOf("in.wav") + "cue \0\0\0\4\0\0\0\0"s;
    write(folder / "in.wav", bytes.replace(4, 4, bigEndian(bytes.size() - 8)));
    EXPECT_THAT(render("in.wav", "out.wav"), HasSubstr("kelvane writes no cue into wav"));
    EXPECT_THAT(bytesOf("out.wav"), testing::Not(HasSubstr("cue ")));
}

TEST_F(Metadata, CommentsKeepTheirCaseAndPicturesTravelThroughEveryTag) {
    auto quiet = noise(6002);  // lossy formats overshoot
    for (auto& sample : quiet) sample *= 0.2;
    save(folder / "in.flac",
         {.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
          .rate = 48000,
          .samples = quiet,
          .strings = {{SF_STR_ARTIST, "Zo\xC3\xAB"}, {SF_STR_TITLE, "Evening"}}});
    auto bytes = bytesOf("in.flac");
    bytes.replace(bytes.find("=Zo\xC3\xAB") - 6, 6,
                  "Writer");  // a key that only comments and ID3 have
    const auto block = bigEndian(3) + bigEndian(9) + "image/png" + bigEndian(0) +
                       std::string(16, '\0') + bigEndian(15) + "a picture of it";
    const std::size_t behindStreamInfo = 4 + 4 + 34;
    bytes.insert(behindStreamInfo, "\6\0\0"s + static_cast<char>(block.size()) + block);
    write(folder / "in.flac", "ID3\3\0\0\0\0\0\x0A"s + std::string(10, '\0') + bytes);
    EXPECT_THAT(render("in.flac", "out.flac"), HasSubstr("no ID3 tag before its FLAC stream"));
    EXPECT_THAT(bytesOf("out.flac"), HasSubstr(block));
    write(folder / "in.flac", bytes);

    const char* from = "in.flac";
    for (const char* file :
         {"out.flac", "out.ogg", "out.opus", "back.flac", "out.mp3", "again.mp3", "out.wav",
          "out.aiff", "out.w64", "again.aiff", "out.rf64", "last.flac"}) {
        EXPECT_EQ(render(from, file), "") << file;
        EXPECT_GT(load(folder / file).samples.size(), 5000U) << file;
        from = file;
    }
    for (const char* file : {"out.flac", "back.flac"}) {
        EXPECT_THAT(bytesOf(file), HasSubstr("Writer=Zo\xC3\xAB")) << file;
        EXPECT_THAT(bytesOf(file), HasSubstr(block)) << file;
    }
    for (const char* text : {"WRITER=Zo\xC3\xAB", "TITLE=Evening", "a picture of it"})
        EXPECT_THAT(bytesOf("last.flac"), HasSubstr(text));
    EXPECT_THAT(render("in.flac", "out.caf"),
                HasSubstr("kelvane writes no pictures, Writer into caf"));
}

}  // namespace
