// What render carries over beside the samples.
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::literals;
using testing::HasSubstr;

std::string number(std::size_t value) {
    return {reinterpret_cast<const char*>(&value), 4};
}

std::string chunk(const std::string& name, const std::string& bytes) {
    return name + number(bytes.size()) + bytes + std::string(bytes.size() % 2, '\0');
}

using Frames = std::vector<std::pair<std::string, std::string>>;

/// A chunk with an ID3 tag of version 2.3.
std::string id3Chunk(const Frames& frames) {
    std::string all;
    for (const auto& [name, bytes] : frames)
        all += name + bigEndian(bytes.size()) + "\0\0"s + bytes;
    return chunk("id3 ", "ID3\3\0\0"s + bigEndian(all.size(), 4, 7) + all);
}

std::pair<std::string, std::string> picture(const std::string& bytes) {
    return {"APIC", "\0image/png\0\3\0"s + bytes};
}

const std::string cue =
    chunk("cue ", number(1) + number(7) + number(0) + "data" + std::string(8, '\0') + number(4410));
const std::string label = chunk("labl", number(7) + "verse\0"s);
const std::string info =
    chunk("LIST", "INFO" + chunk("INAM", "Evening\0"s) + chunk("IART", "Trio\0"s) +
                      chunk("ICMT", "take\0"s) + chunk("IENG", "Nobody\0"s));
/// What a recorder or a sampler writes.
const std::vector<std::string> chunks{
    chunk("bext", "take" + std::string(334, '\0') + number(158760000) + std::string(261, '\1')),
    cue,
    chunk("LIST", "adtl" + label + chunk("note", number(7) + "x"s)),
    chunk("smpl", std::string(36, '\2')),
    chunk("iXML", "<BWFXML>odd</BWFXML>!"),
    info,
};
const auto all = fmt::format("{}", fmt::join(chunks, ""));

class Metadata : public ProgramTest {
 protected:
    /// Renders one file of the folder into another. Returns what standard error has.
    std::string render(const std::string& in, const std::string& out,
                       const std::string& options = " --volume 0.2") {
        const auto run = kelvane("render " + in + " " + out + options);
        EXPECT_EQ(run.code, 0) << out << run.err;
        return run.err;
    }
    std::string bytesOf(const std::string& file) { return contents(folder / file); }

    void writeIn(const std::string& more, int format = SF_FORMAT_WAV) {
        save(folder / "in", {.format = format | SF_FORMAT_PCM_16, .samples = noise(6000)});
        auto bytes = bytesOf("in") + more;
        const auto size = bytes.size() - 8;
        bytes.replace(4, 4, format == SF_FORMAT_WAV ? number(size) : bigEndian(size));
        write(folder / "in", bytes);
    }
};

TEST_F(Metadata, ChunksGoAsTheyAreIntoTheirFamilyAndABypassedFileIsCopied) {
    writeIn(all);
    EXPECT_EQ(render("in", "same.wav", " --bypass"), "");
    EXPECT_TRUE(bytesOf("same.wav") == bytesOf("in"));
    for (const auto& [from, to] : {std::pair{"in", "out.wav"},
                                   {"in", "out.rf64"},
                                   {"in", "out.w64"},
                                   {"out.w64", "back.wav"},
                                   {"in", "- > piped.wav"}})
        EXPECT_EQ(render(from, to), "") << to;
    for (const char* file : {"out.wav", "out.rf64", "back.wav", "piped.wav", "out.w64"}) {
        EXPECT_EQ(load(folder / file).samples.size(), 6000U) << file;
        if (file == "out.w64"s) continue;
        for (const auto& kept : chunks) EXPECT_THAT(bytesOf(file), HasSubstr(kept)) << file;
    }
}

TEST_F(Metadata, OtherFormatsGetWhatTheyHaveAPlaceForAndTheRestIsNamed) {
    const std::string large(17 << 20, 'x');
    const auto user = std::pair("TXXX"s, "\0MOOD\0calm"s), small = picture("a picture");
    const auto note = "COMT\0\0\0\x0E\0\1\0\0\0\0\0\0\0\4note"s;
    struct Case {
        std::string chunks;
        const char* files;  // each rendered from the one before it
        const char* lost;   // in the last of them
        std::string kept = {}, keptToo = {};
        int format = SF_FORMAT_WAV;
        const char* absent = "no such text";
    };
    for (const auto& [more, files, lost, kept, keptToo, format, absent] : {
             Case{all, "out.aiff", "no bext, note, smpl, iXML, IENG into aiff",
                  "MARK\0\0\0\x0E\0\1\0\1\0\0\x11\x3A\5verse"s, "NAME\0\0\0\7Evening"s},
             {all, "out.caf", "no bext, cue, adtl, smpl, iXML, IENG into caf", "title\0Evening\0"s},
             {all, "out.flac", "no bext, cue, adtl, smpl, iXML, IENG into flac", "COMMENT=take",
              "ARTIST=Trio"},
             {all, "out.au",
              "no bext, cue, adtl, smpl, iXML, TITLE, ARTIST, COMMENT, IENG into au"},
             {cue + chunk("LIST", "adtl" + label), "out.aiff back.wav", "^$", number(4410),
              "verse\0"s},
             {info, "out.w64 out.flac", "no IENG into flac", "TITLE=Evening"},
             {id3Chunk({picture(large), user}), "out.flac",
              "no pictures of 16 MiB or more into flac", "MOOD=calm"},
             {id3Chunk({small, {"TXXX", "\0LONG\0"s + large}, user}), "out.flac",
              "no LONG beyond 16 MiB of comments into flac", "MOOD=calm", "a picture"},
             {id3Chunk({small, user, {"PRIV", "me\0data"s}}), "out.rf64 out.w64 out.flac",
              "no PRIV into flac", "MOOD=calm", "a picture"},
             {id3Chunk({user, {"GEOB", "\0a/b\0f\0d\0bytes"s}}), "out.mp3 out.caf",
              "no MOOD, GEOB into caf"},
             {chunk("huge", std::string((64 << 20) + 1, 'x')) + id3Chunk({user}), "out.wav",
              "no huge of more than 64 MiB into wav", "MOOD"},
             {note, "out.aiff out.wav", "no COMT into wav", "", "", SF_FORMAT_AIFF},
             {note + "APPL\0\0\0\x0Cm3gaSoftware"s, "out.flac", "no COMT, APPL into flac", "", "",
              SF_FORMAT_AIFF, "Software"},
             {"cue \0\0\0\4\0\0\0\0"s, "out.wav", "no cue into wav", "", "",
              SF_FORMAT_WAV | SF_ENDIAN_BIG, "cue "},
         }) {
        writeIn(more, format);
        std::string from = "in", line;
        std::istringstream each(files);
        for (std::string file; each >> file; from = file) {
            EXPECT_EQ(line, "") << file;
            line = render(from, file);
        }
        EXPECT_THAT(line, testing::ContainsRegex(lost));
        EXPECT_GE(load(folder / from).samples.size(), 6000U) << lost;
        for (const auto& text : {kept, keptToo})
            EXPECT_THAT(bytesOf(from), HasSubstr(text)) << lost;
        EXPECT_THAT(bytesOf(from), testing::Not(HasSubstr(absent)));
    }
    EXPECT_EQ(render("in", "quiet.caf", " -q"), "");
}

TEST_F(Metadata, CommentsKeepTheirCaseAndPicturesTravelThroughEveryTag) {
    const std::pair<int, std::string> texts[]{{SF_STR_TITLE, "Evening"}, {SF_STR_COMMENT, "take"}};
    auto quiet = noise(6002);  // lossy formats overshoot
    for (auto& sample : quiet) sample *= 0.2;
    save(folder / "in.flac", {.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                              .rate = 48000,
                              .samples = quiet,
                              .strings = {{SF_STR_ARTIST, "Zo\xC3\xAB"}, texts[0], texts[1]}});
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
        const auto sound = load(folder / file);
        EXPECT_GT(sound.samples.size(), 5000U) << file;
        EXPECT_TRUE(file == "out.w64"s ||
                    testing::Value(sound.strings, testing::IsSupersetOf(texts)))
            << file;
        const auto first = bytesOf(file);
        render(std::exchange(from, file), file);
        // Ogg streams have a random number in each page.
        EXPECT_TRUE(first.starts_with("OggS") || bytesOf(file) == first) << file;
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
