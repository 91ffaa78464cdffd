// What render carries over beside the samples.
#include <algorithm>
#include <cctype>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::literals;
using testing::HasSubstr;

std::string number(std::uint32_t value) {
    return {reinterpret_cast<const char*>(&value), 4};
}

std::string chunk(const std::string& name, const std::string& bytes) {
    return name + number(static_cast<std::uint32_t>(bytes.size())) + bytes +
           std::string(bytes.size() % 2, '\0');
}

/// A picture as FLAC stores it, of these bytes.
std::string flacPicture(const std::string& bytes) {
    const auto length = [](std::size_t n) { return "\0\0\0"s + static_cast<char>(n); };
    return length(3) + length(9) + "image/png" + length(0) + std::string(16, '\0') +
           length(bytes.size()) + bytes;
}

/// An ID3 tag of version 2.3 with these frames.
std::string id3Tag(const std::vector<std::pair<std::string, std::string>>& frames) {
    const auto bigEndian = [](std::size_t value, int bits) {
        std::string text;
        for (int i = 3; i >= 0; --i)
            text += static_cast<char>(value >> (bits * i) & ((1U << bits) - 1));
        return text;
    };
    std::string all;
    for (const auto& [name, bytes] : frames)
        all += name + bigEndian(bytes.size(), 8) + "\0\0"s + bytes;
    return "ID3\3\0\0"s + bigEndian(all.size(), 7) + all;
}

std::pair<std::string, std::string> id3Picture(const std::string& bytes) {
    return {"APIC", "\0image/png\0\3\0"s + bytes};
}

class Metadata : public testing::Test {
 protected:
    /// Renders one file of the folder into another. Returns what standard error has.
    std::string render(const std::string& in, const std::string& out,
                       const std::string& options = " --volume 0.9") {
        const auto run = shell("cd " + (folder / "") + " && $K render " + in + " " + out + options);
        EXPECT_EQ(run.code, 0) << out << run.err;
        return run.err;
    }
    std::string bytesOf(const std::string& file) { return contents(folder / file); }

    /// A WAV with every chunk that a recorder or a sampler writes.
    void writeTake() { writeWav(chunks); }
    void writeWav(const std::vector<std::string>& more) {
        save(folder / "in.wav",
             {.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16, .samples = noise(6000)});
        auto bytes = bytesOf("in.wav");
        for (const auto& added : more) bytes += added;
        bytes.replace(4, 4, number(static_cast<std::uint32_t>(bytes.size() - 8)));
        write(folder / "in.wav", bytes);
    }

    const TemporaryFolder folder;
    const std::string bext = "take" + std::string(334, '\0') + number(158760000) +  // an hour
                             std::string(261, '\1');                                // of odd length
    const std::string cue =
        number(1) + number(7) + number(0) + "data" + std::string(8, '\0') + number(4410);
    const std::string smpl = std::string(36, '\2');
    const std::vector<std::string> chunks{
        chunk("bext", bext),
        chunk("cue ", cue),
        chunk("LIST", "adtl" + chunk("labl", number(7) + "verse\0"s)),
        chunk("smpl", smpl),
        chunk("iXML", "<BWFXML>odd</BWFXML>!"),
        chunk("LIST", "INFO" + chunk("INAM", "Evening\0"s) + chunk("IENG", "Nobody\0"s)),
    };
};

TEST_F(Metadata, ChunksGoAsTheyAreIntoTheirFamilyAndABypassedFileIsCopied) {
    writeTake();
    EXPECT_EQ(render("in.wav", "same.wav", " --bypass"), "");
    EXPECT_TRUE(bytesOf("same.wav") == bytesOf("in.wav"));
    EXPECT_EQ(render("in.wav", "out.wav"), "");
    EXPECT_EQ(render("in.wav", "out.rf64"), "");
    EXPECT_EQ(render("in.wav", "out.w64"), "");
    EXPECT_EQ(render("out.w64", "back.wav"), "");
    EXPECT_EQ(render("in.wav", "- > piped.wav"), "");
    for (const char* file : {"out.wav", "out.rf64", "back.wav", "piped.wav"}) {
        for (const auto& kept : chunks) EXPECT_THAT(bytesOf(file), HasSubstr(kept)) << file;
        EXPECT_EQ(loadFloats(folder / file).samples.size(), 6000U) << file;
    }
    EXPECT_EQ(loadFloats(folder / "out.w64").samples.size(), 6000U);
}

TEST_F(Metadata, OtherFormatsGetWhatTheyHaveAPlaceForAndTheRestIsNamed) {
    writeTake();
    for (const auto& [file, lost] :
         {std::pair{"out.aiff", "kelvane writes no bext, smpl, iXML, IENG into aiff"},
          {"out.caf", "kelvane writes no bext, cue, adtl, smpl, iXML, IENG into caf"},
          {"out.flac", "kelvane writes no bext, cue, adtl, smpl, iXML, IENG into flac"},
          {"out.au", "kelvane writes no bext, cue, adtl, smpl, iXML, TITLE, IENG into au"}}) {
        EXPECT_THAT(render("in.wav", file), HasSubstr(lost));
        SF_INFO info{};
        SNDFILE* const sound = sf_open((folder / file).c_str(), SFM_READ, &info);
        ASSERT_NE(sound, nullptr) << file;
        EXPECT_EQ(info.frames, 3000) << file;
        if (file != "out.au"s) {
            EXPECT_STREQ(sf_get_string(sound, SF_STR_TITLE), "Evening") << file;
        }
        sf_close(sound);
    }
    EXPECT_THAT(bytesOf("out.aiff"), HasSubstr("MARK\0\0\0\x0E\0\1\0\1\0\0\x11\x3A\5verse"s));
    EXPECT_EQ(render("out.aiff", "back.wav"), "");
    SF_INFO info{};
    SNDFILE* const sound = sf_open((folder / "back.wav").c_str(), SFM_READ, &info);
    SF_CUES cues{};
    EXPECT_TRUE(sf_command(sound, SFC_GET_CUE, &cues, sizeof cues));
    EXPECT_EQ(cues.cue_points[0].sample_offset, 4410U);
    EXPECT_STREQ(cues.cue_points[0].name, "verse");
    sf_close(sound);
    EXPECT_EQ(render("in.wav", "quiet.caf", " -q"), "");
}

TEST_F(Metadata, WhatIsTooLargeOrHasNoTextIsNamed) {
    const std::string large(17 << 20, 'x');
    const std::pair<std::string, std::string> user{"TXXX", "\0MOOD\0calm"s};
    const auto tag = [](const auto&... frames) { return chunk("id3 ", id3Tag({frames...})); };
    struct Case {
        std::vector<std::string> chunks;
        std::vector<const char*> files;
        const char* lost;
        std::vector<const char*> kept;
    };
    for (const auto& [more, files, lost, kept] :
         {Case{{tag(id3Picture(large), user)},
               {"out.flac"},
               "no pictures of 16 MiB or more into flac",
               {"MOOD=calm"}},
          {{tag(id3Picture("a picture"), std::pair{"TXXX"s, "\0LONG\0"s + large}, user)},
           {"out.flac"},
           "no LONG beyond 16 MiB of comments into flac",
           {"MOOD=calm", "a picture"}},
          {{tag(id3Picture("a picture"), user, std::pair{"PRIV"s, "me\0data"s})},
           {"out.rf64", "out.w64", "out.flac"},
           "no PRIV into flac",
           {"MOOD=calm", "a picture"}},
          {{tag(user, std::pair{"GEOB"s, "\0a/b\0f\0d\0bytes"s})},
           {"out.mp3", "out.caf"},
           "no MOOD, GEOB into caf",
           {}},
          {{chunks.back()}, {"out.w64", "out.flac"}, "no IENG into flac", {"TITLE=Evening"}},
          {{chunk("huge", std::string((64 << 20) + 1, 'x')), tag(user)},
           {"out.wav"},
           "no huge of more than 64 MiB into wav",
           {"MOOD"}}}) {
        writeWav(more);
        const char* from = "in.wav";
        std::string line;
        for (const char* file : files) line = render(std::exchange(from, file), file);
        EXPECT_THAT(line, testing::EndsWith("kelvane writes "s + lost + "\n"));
        EXPECT_GE(loadFloats(folder / from).samples.size(), 6000U) << lost;
        for (const char* text : kept) EXPECT_THAT(bytesOf(from), HasSubstr(text)) << lost;
    }
    save(folder / "in.aiff", {.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16, .samples = noise(600)});
    auto bytes = bytesOf("in.aiff") + "COMT\0\0\0\x0E\0\1\0\0\0\0\0\0\0\4note"s;
    bytes.replace(
        6, 2, {static_cast<char>((bytes.size() - 8) >> 8), static_cast<char>(bytes.size() - 8)});
    write(folder / "in.aiff", bytes);
    EXPECT_EQ(render("in.aiff", "out.aiff"), "");
    EXPECT_THAT(render("in.aiff", "out.wav"), HasSubstr("kelvane writes no COMT into wav"));
}

TEST_F(Metadata, CommentsKeepTheirCaseAndPicturesTravelThroughEveryTag) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    SNDFILE* const sound = sf_open((folder / "in.flac").c_str(), SFM_WRITE, &info);
    sf_set_string(sound, SF_STR_ARTIST, "Zo\xC3\xAB");
    sf_set_string(sound, SF_STR_TITLE, "Evening");
    auto quiet = noise(6000);  // lossy formats overshoot
    for (auto& sample : quiet) sample *= 0.2F;
    sf_write_float(sound, quiet.data(), 6000);
    sf_close(sound);
    auto bytes = bytesOf("in.flac");
    const std::string artist = "ARTIST";
    const auto key = std::search(bytes.begin(), bytes.end(), artist.begin(), artist.end(),
                                 [](char a, char b) { return std::toupper(a) == b; });
    ASSERT_NE(key, bytes.end());
    std::ranges::copy("Writer"s, key);  // a key that only comments and ID3 have
    const auto block = flacPicture("a picture of it");
    const std::size_t behindStreamInfo = 4 + 4 + 34;
    bytes.insert(behindStreamInfo, "\6\0\0"s + static_cast<char>(block.size()) + block);
    write(folder / "in.flac", bytes);

    const std::vector<std::string> files{"in.flac",   "out.flac", "out.ogg",   "out.opus",
                                         "back.flac", "out.mp3",  "again.mp3", "out.wav",
                                         "out.aiff",  "last.flac"};
    for (std::size_t i = 1; i < files.size(); ++i) {
        EXPECT_EQ(render(files[i - 1], files[i],
                         files[i].ends_with("opus") ? " --format opus" : " --volume 0.3"),
                  "")
            << files[i];
        EXPECT_GT(loadFloats(folder / files[i]).samples.size(), 5000U) << files[i];
    }
    for (const char* file : {"out.flac", "back.flac"}) {
        EXPECT_THAT(bytesOf(file), HasSubstr("Writer=Zo\xC3\xAB")) << file;
        EXPECT_THAT(bytesOf(file), HasSubstr(block)) << file;
    }
    EXPECT_THAT(bytesOf("last.flac"), HasSubstr("WRITER=Zo\xC3\xAB"));
    EXPECT_THAT(bytesOf("last.flac"), HasSubstr("TITLE=Evening"));
    EXPECT_THAT(bytesOf("last.flac"), HasSubstr("a picture of it"));
    EXPECT_THAT(render("in.flac", "out.caf"),
                HasSubstr("kelvane writes no pictures, Writer into caf"));
}

}  // namespace
