// kelvane render as a process: what a user meets at the shell.
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <span>
#include <tuple>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <nlohmann/json.hpp>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int floatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

struct Kind {
    const char* file;
    int format;
};

class BitExactBypass : public testing::TestWithParam<Kind> {};

TEST_P(BitExactBypass, GivesBackEverySample) {
    const auto [file, format] = GetParam();
    const TemporaryFolder folder;
    const auto in = folder / "in";
    const auto out = folder / file;
    Sound<double> sound{.format = format, .samples = {}};
    for (const float sample : noise(20000)) sound.samples.push_back(sample / 1.5);
    sound.samples[0] = -1;
    if (const int type = format & SF_FORMAT_SUBMASK;
        type == SF_FORMAT_FLOAT || type == SF_FORMAT_DOUBLE) {
        sound.samples[5] = -3.5;
        sound.samples[6] = 1e-40;
        sound.samples[7] = std::numeric_limits<double>::quiet_NaN();
    }
    save(in, sound);
    const auto before = loadDoubles(in);
    const std::string bypass = " --bypass --stereo-width 1 --volume 0";
    EXPECT_EQ(shell("$K render " + in + " " + out + bypass).err, "");
    EXPECT_TRUE(contents(out) == contents(in));
    // In another container, which takes the samples or floats, they are written anew.
    const auto other = folder / "other.caf";
    EXPECT_EQ(shell("$K render " + in + " " + other + bypass).err, "");
    const auto after = loadDoubles(other);
    ASSERT_EQ(after.samples.size(), before.samples.size());
    EXPECT_EQ(std::memcmp(after.samples.data(), before.samples.data(), 8 * before.samples.size()),
              0);
}

INSTANTIATE_TEST_SUITE_P(Subtypes, BitExactBypass,
                         testing::Values(Kind{"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
                                         Kind{"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                                         Kind{"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
                                         Kind{"o.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_32},
                                         Kind{"o.wav", floatWav},
                                         Kind{"o.au", SF_FORMAT_AU | SF_FORMAT_DOUBLE},
                                         Kind{"o.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8},
                                         Kind{"o.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
                                         Kind{"o.caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_16},
                                         Kind{"o.au", SF_FORMAT_AU | SF_FORMAT_ULAW},
                                         Kind{"o.wav", SF_FORMAT_WAV | SF_FORMAT_ALAW}));

class Render : public testing::Test {
 protected:
    Render() { save(in, {.format = floatWav, .samples = noise(2 * 30000)}); }

    const TemporaryFolder folder;
    const std::string in = folder / "in.wav";
    const std::string out = folder / "out.wav";
};

TEST_F(Render, PutsIntegersOfTheProcessedSideBackExactlyAndHoldsThemToFullScale) {
    Sound<std::int32_t> sound{.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16, .samples = {}};
    for (int i = -32768; i < 32768; ++i)
        sound.samples.insert(sound.samples.end(), {i * 65536, i * 65536});
    save(in, sound);
    ASSERT_EQ(shell("$K render " + in + " " + out).code, 0);
    const auto same = loadIntegers(out);
    for (std::size_t i = 1; i < same.samples.size(); i += 2)
        ASSERT_EQ(same.samples[i], sound.samples[i]);
    ASSERT_EQ(shell("$K render " + in + " " + out + " --panorama 1 --block 1").code, 0);
    // All of both sides on one: 0.6 (L + R), and L is one frame late.
    const auto hard = loadIntegers(out);
    EXPECT_EQ(hard.samples[2 * 62000 + 1], 32767 * 65536) << "held, not wrapped";
    EXPECT_EQ(hard.samples[2 * 40000 + 1] / 65536, std::lround(0.6 * (7232 + 7231)));
    EXPECT_EQ(hard.samples[2 * 40000], 0);
}

TEST_F(Render, NotesClippedSamplesUnlessQuiet) {
    auto loud = noise(2 * 5000);
    for (auto& sample : loud) sample *= 3;
    save(in, {.format = floatWav, .samples = loud});
    EXPECT_EQ(shell("$K render " + in + " " + out).err, "") << "floats do not clip";
    std::int64_t count = 0;
    float peak = 0;
    for (const float sample : loadFloats(out).samples) {
        count += std::abs(sample) > 1;
        peak = std::max(peak, std::abs(sample));
    }
    ASSERT_GT(count, 1000);
    const auto note = fmt::format(": {},{:03} samples clipped, peak {:+.1f} dBFS; ", count / 1000,
                                  count % 1000, 20 * std::log10(peak));
    for (const auto& [file, advice] : {std::pair{"out.aiff", "--subtype float keeps them\n"},
                                       {"out.flac", "a wav with --subtype float keeps them\n"}}) {
        const auto path = folder / file;
        const auto command = "$K render " + in + " " + path + " --subtype pcm16";
        const auto run = shell(command);
        EXPECT_EQ(run.code, 0);
        EXPECT_EQ(run.err, "kelvane: " + path + note + advice);
        EXPECT_EQ(shell(command + " -q").err, "");
    }
}

TEST_F(Render, ReplacesAnOutputWhenTypedAtATerminalOnlyIfAsked) {
    // script(1) gives its command a terminal; with -m, a shell starts commands as if they were
    // typed. exec, as not every /bin/sh lets its last command take its place. Errors go to a file,
    // as script may lose what a command writes just before its end.
    for (const auto& [command, isReplaced] :
         {std::pair{"exec $K render in.wav out.wav 2>err", false},
          {"exec bash -mc \"$K render in.wav out.wav 2>err; exit\"", false},
          {"exec bash -mc \"$K render in.wav out.wav <err 2>err; exit\"", false},
          {"exec bash -mc \"cat in.wav | $K render - out.wav 2>err\"", false},
          {"exec bash -mc \"$K render in.wav out.wav 2>err & wait %1\"", false},
          {"$K render in.wav out.wav -y", true},
          {"$K render in.wav out.wav; exit $?", true},
          {"cat in.wav | $K render - out.wav", true}}) {
        write(out, "the old output");
        write(folder / "err", "");
        const auto run = shell("cd " + (folder / "") + "; env -u SHELL script -qec '" + command +
                               "' /dev/null </dev/null");
        const auto err = contents(folder / "err");
        EXPECT_EQ(run.code, isReplaced ? 0 : 1) << command << run.out << err;
        if (isReplaced) {
            EXPECT_EQ(loadFloats(out).samples.size(), 60000U) << command;
        } else {
            EXPECT_THAT(err, HasSubstr("out.wav: exists; -y (--overwrite) replaces it")) << command;
            EXPECT_TRUE(contents(out) == "the old output") << command;
        }
    }
}

TEST_F(Render, StreamsThroughPipesAsWavAndAsRawFloats) {
    ASSERT_EQ(shell("$K render " + in + " " + out + " --panorama 0.3").code, 0);
    const auto wanted = loadFloats(out).samples;
    const auto piped = folder / "piped.wav";
    ASSERT_EQ(
        shell("cat " + in + " | $K render - - --panorama 0.3 --progress | cat > " + piped).code, 0);
    EXPECT_EQ(loadFloats(piped).samples, wanted);
    const std::string bytes(reinterpret_cast<const char*>(loadFloats(in).samples.data()),
                            30000 * 8);
    write(folder / "in.raw", bytes);
    const auto raw = shell("cat " + (folder / "in.raw") +
                           " | $K render - - --raw 44100 --panorama 0.3 --diagnostics");
    EXPECT_EQ(raw.out, std::string(reinterpret_cast<const char*>(wanted.data()), 30000 * 8));
    EXPECT_THAT(raw.err, HasSubstr("DIAGNOSTICS: QOW Kelvane DSP Kernel loaded.\n"));
    // A producer that can't go back leaves the sizes open.
    std::string open = contents(in);
    const auto data = open.find("data");
    for (const auto at : {std::size_t{4}, data + 4}) open.replace(at, 4, "\xFF\xFF\xFF\xFF");
    write(folder / "open.wav", open);
    ASSERT_EQ(
        shell("cat " + (folder / "open.wav") + " | $K render - " + piped + " --panorama 0.3").code,
        0);
    EXPECT_EQ(loadFloats(piped).samples, wanted);
    // A large size is still a promise.
    open.replace(data + 4, 4, std::string("\0\0\0\x40", 4));
    write(folder / "open.wav", open);
    EXPECT_THAT(shell("cat " + (folder / "open.wav") + " | $K render - - | wc -c").err,
                HasSubstr("is truncated"));
}

TEST_F(Render, CarriesTheInputsStringsOverAndWritesTheSameBytesAgain) {
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = floatWav;
    SNDFILE* file = sf_open(in.c_str(), SFM_WRITE, &info);
    sf_set_string(file, SF_STR_TITLE, "Evening");
    sf_set_string(file, SF_STR_ARTIST, "Nobody");
    sf_set_string(file, SF_STR_COMMENT, "first take");
    sf_write_float(file, noise(2000).data(), 2000);
    sf_close(file);
    for (const char* name : {"out.wav", "out.flac", "out.rf64", "out.ogg"}) {
        const auto path = folder / name;
        ASSERT_EQ(shell("$K render " + in + " " + path).code, 0);
        const auto first = contents(path);
        ASSERT_EQ(shell("$K render " + in + " " + path).code, 0);
        // Ogg streams have a random number in each page.
        if (!std::string_view(name).ends_with("ogg")) {
            EXPECT_TRUE(contents(path) == first) << name;
        }
        file = sf_open(path.c_str(), SFM_READ, &info);
        ASSERT_NE(file, nullptr);
        EXPECT_STREQ(sf_get_string(file, SF_STR_TITLE), "Evening") << name;
        EXPECT_STREQ(sf_get_string(file, SF_STR_ARTIST), "Nobody") << name;
        EXPECT_STREQ(sf_get_string(file, SF_STR_COMMENT), "first take") << name;
        sf_close(file);
    }
}

/// A container, and where its header holds lengths: from the begin of a text that it contains.
struct Container {
    const char* ending;
    int format;
    struct Field {
        std::string text;
        std::size_t offset, bytes;
    };
    std::vector<Field> lengths;
};

class Salvage : public testing::TestWithParam<Container> {};

TEST_P(Salvage, RendersWhatIsThereWhenAskedAndNamesTheOptionElse) {
    const auto& [ending, container, lengths] = GetParam();
    const TemporaryFolder folder;
    const auto in = folder / std::string("in.") + ending;
    const auto out = folder / "out.wav";
    for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_FLOAT}) {
        save(in, {.format = container | subtype, .samples = noise(6000)});
        const auto original = loadFloats(in).samples;
        const auto whole = contents(in);
        const auto cut = whole.substr(0, whole.size() - 5001);
        auto unfinished = whole;
        for (const auto& [text, offset, bytes] : lengths)
            if (const auto at = whole.find(text); at != std::string::npos)
                unfinished.replace(at + offset, bytes, bytes, '\0');
        for (const auto& [bytes, message, samples] :
             {std::tuple{unfinished, "was never finished", std::size_t{6000}},
              {cut, "is truncated",
               (subtype == SF_FORMAT_FLOAT ? 6000 - 5008 / 4 : 6000 - 5004 / 2)}}) {
            write(in, bytes);
            const auto command = "$K render " + in + " " + out;
            const auto refused = shell(command);
            EXPECT_EQ(refused.code, 1);
            EXPECT_THAT(refused.err, testing::AllOf(HasSubstr(message), HasSubstr("--salvage")));
            EXPECT_FALSE(std::filesystem::exists(out));
            const auto salvaged = shell(command + " --salvage --bypass");
            ASSERT_EQ(salvaged.code, 0) << message << salvaged.err;
            EXPECT_THAT(salvaged.err, HasSubstr("frames that are there were rendered"));
            const auto sound = loadFloats(out);
            EXPECT_EQ(sound.format, SF_FORMAT_WAV | subtype);
            ASSERT_EQ(sound.samples.size(), samples) << message;
            EXPECT_TRUE(std::ranges::equal(sound.samples, std::span(original).first(samples)));
            std::filesystem::remove(out);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Containers, Salvage,
    testing::Values(
        Container{"wav", SF_FORMAT_WAV, {{"RIFF", 4, 4}, {"fact", 8, 4}, {"data", 4, 4}}},
        Container{"rf64", SF_FORMAT_RF64, {{"ds64", 8, 24}}},
        Container{"w64", SF_FORMAT_W64, {{"riff", 16, 8}, {"fact", 24, 8}, {"data", 16, 8}}},
        Container{"aiff", SF_FORMAT_AIFF, {{"FORM", 4, 4}, {"COMM", 10, 4}, {"SSND", 4, 4}}},
        Container{"caf", SF_FORMAT_CAF, {{"data", 4, 8}}},
        Container{"au", SF_FORMAT_AU, {{".snd", 8, 4}}}),
    [](const auto& test) { return std::string(test.param.ending); });

TEST_F(Render, TakesPipesOfOpenLengthAndRefusesFormatsThatNeedAFile) {
    using namespace std::string_literals;
    for (const auto& [container, field, size, message] :
         {std::tuple{SF_FORMAT_AU, ".snd\0\0\0\x18"s, "\xFF\xFF\xFF\xFF"s, "^$"},
          {SF_FORMAT_AIFF, "SSND"s, "\x7F\0\0\x08"s, "^$"},
          {SF_FORMAT_RF64, ""s, ""s, "a pipe takes WAV"},
          {SF_FORMAT_W64, ""s, ""s, "a pipe takes WAV"},
          {SF_FORMAT_CAF, ""s, ""s, "a pipe takes WAV"}}) {
        save(in, {.format = container | SF_FORMAT_PCM_16, .samples = noise(6000)});
        auto bytes = contents(in);
        bytes.replace(bytes.find(field) + field.size(), size.size(), size);
        write(in, bytes);
        const auto run = shell("cat " + in + " | $K render - - | wc -c");
        EXPECT_THAT(run.err, testing::ContainsRegex(message)) << container;
        EXPECT_EQ(std::stoi(run.out) > 2 * 6000, run.err.empty()) << container;
    }
}

TEST_F(Render, NamesWhatToDoWithADamagedOrPackedStream) {
    auto zeros = contents(in);
    zeros.replace(zeros.find("data") + 4, 4, 4, '\0');
    write(folder / "zeros.wav", zeros);
    save(folder / "in.flac",
         {.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16, .samples = noise(60000)});
    for (const auto& [file, message] :
         {std::pair{"zeros.wav", "render that with --salvage"}, {"in.flac", "flac -dc"}}) {
        const auto run = shell("cat " + (folder / file) + " | $K render - " + out);
        EXPECT_EQ(run.code, 1);
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(out)) << file;
    }
    for (const int format :
         {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_OGG | SF_FORMAT_VORBIS,
          SF_FORMAT_OGG | SF_FORMAT_OPUS, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III}) {
        const auto cut = folder / "cut";
        save(cut, {.format = format, .rate = 48000, .samples = noise(200000)});
        const auto original = loadFloats(cut).samples;
        const auto whole = contents(cut);
        write(cut, whole.substr(0, whole.size() * 3 / 4));
        const auto command = "$K render --bypass " + cut + " " + out;
        const auto refused = shell(command);
        EXPECT_EQ(refused.code, 1) << format;
        EXPECT_THAT(refused.err, HasSubstr("cut: is truncated")) << format;
        EXPECT_THAT(refused.err, HasSubstr("--salvage")) << format;
        const auto salvaged = shell(command + " --salvage");
        ASSERT_EQ(salvaged.code, 0) << salvaged.err;
        EXPECT_THAT(salvaged.err, HasSubstr("frames that are there were rendered")) << format;
        const auto kept = loadFloats(out).samples;
        ASSERT_GT(kept.size(), 80000U) << format;
        ASSERT_LT(kept.size(), original.size()) << format;
        EXPECT_TRUE(
            std::ranges::equal(std::span(kept).first(80000), std::span(original).first(80000)));
    }
}

TEST_F(Render, TakesValuesAsPeopleWriteThem) {
    const auto rendered = [&](const std::string& options) {
        const auto run = shell("$K render " + in + " " + out + options);
        EXPECT_EQ(run.code, 0) << options << run.err;
        return contents(out);
    };
    for (const auto& [written, plain] : {std::pair{" --volume -6dB", " --volume 0.501187233627272"},
                                         {" --stereo-width -30%", " --stereo-width 0.35"},
                                         {" --panorama L30", " --panorama 0.35"},
                                         {" --phase-shift 220samples", " --phase-shift 0.5"},
                                         {" --phase-shift 5ms", " --phase-shift 221samples"},
                                         {" --swap-channels on", " --swap-channels"},
                                         {" --swap-channels 1", " --swap-channels"},
                                         {" --bypass yes", " --bypass"},
                                         {" --swap-channels off", ""},
                                         {" --bypass no", ""}})
        EXPECT_TRUE(rendered(written) == rendered(plain)) << written;
}

TEST_F(Render, TakesMonoOnlyWhenAsked) {
    save(in, {.format = floatWav, .channels = 1, .samples = noise(9000)});
    ASSERT_EQ(shell("$K render " + in + " " + out + " --upmix --bypass").code, 0);
    const auto mono = noise(9000);
    const auto stereo = loadFloats(out);
    ASSERT_EQ(stereo.samples.size(), 18000U);
    for (std::size_t i = 0; i < mono.size(); ++i) {
        ASSERT_EQ(stereo.samples[2 * i], mono[i]);
        ASSERT_EQ(stereo.samples[2 * i + 1], mono[i]);
    }
}

TEST_F(Render, BadInputEndsWithOneLineAndLeavesTheOutputAlone) {
    save(folder / "mono.wav", {.format = floatWav, .channels = 1, .samples = noise(100)});
    save(folder / "six.wav", {.format = floatWav, .channels = 6, .samples = noise(600)});
    write(folder / "cut.wav", contents(in).substr(0, 100001));
    for (const Kind& whole : {Kind{"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                              {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
                              {"au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
                              {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16}}) {
        save(folder / "whole", {.format = whole.format, .samples = noise(60000)});
        write(folder / (std::string("cut.") + whole.file),
              contents(folder / "whole").substr(0, 60000));
    }
    write(folder / "header.wav", contents(in).substr(0, contents(in).find("data") + 6));
    save(folder / "empty.wav", {.format = floatWav, .samples = noise(0)});
    write(folder / "begun.wav", contents(in).substr(0, contents(in).find("data") + 9));
    write(folder / "text.wav", "this is no sound");
    write(folder / "bad.txt", "0 set volume 1\n7 set wdth 1\n");
    write(out, "the old output");
    std::filesystem::create_hard_link(in, folder / "link.wav");
    std::filesystem::create_directory(folder / "sub");
    const auto files = folder.files();

    struct Case {
        const char* arguments;
        int code;
        const char* message;
    };
    for (const auto& [arguments, code, message] : {
             Case{"gone.wav out.wav", 1, "gone.wav: there is no such file"},
             {"sub out.wav", 1, "sub: is a folder"},
             {"text.wav out.wav", 1, "text.wav: not a sound file that can be read"},
             {"cut.wav out.wav", 1, "cut.wav: is truncated: 140087 bytes are missing"},
             {"header.wav out.wav --salvage", 1, "header.wav: has no samples behind its header"},
             {"empty.wav out.wav", 1, "empty.wav: has no samples behind its header"},
             {"begun.wav out.wav --salvage", 1, "begun.wav: is truncated before its first whole"},
             {"cut.flac out.wav", 1, "cut.flac: is truncated: "},
             {"cut.aiff out.wav", 1, "cut.aiff: is truncated: "},
             {"cut.au out.wav", 1, "cut.au: is truncated: "},
             {"cut.w64 out.wav", 1, "cut.w64: is truncated: "},
             {"- out.wav < cut.wav", 1, "standard input: is truncated: 140087 bytes are missing"},
             {"- out.wav --raw 48000 < cut.wav", 1,
              "standard input: is truncated: it ends 1 bytes into a frame"},
             {"mono.wav out.wav", 1, "mono.wav: is mono; --upmix puts it on both sides"},
             {"six.wav out.wav", 1, "six.wav: has 6 channels; kelvane takes stereo"},
             {"in.wav link.wav", 2, "link.wav: is the input, too"},
             {"in.wav bad.txt --automation bad.txt --format wav", 2,
              "bad.txt: is the automation, too"},
             {"in.wav out.xyz", 2,
              "out.xyz: its ending names no format; choose one with --format (wav, "},
             {"in.wav sub", 1, "sub: is a folder"},
             {"in.wav nowhere/out.wav", 1,
              "nowhere/out.wav: cannot write: No such file or directory"},
             {"in.wav out.wav --format wave64", 2, "--format wave64: not a format"},
             {"in.wav out.wav --subtype pcm12", 2,
              "--subtype pcm12: not a subtype; the subtypes are float, "},
             {"in.wav out.wav --subtype vorbis", 1, "wav files don't take vorbis samples"},
             {"in.wav - --format flac", 2,
              "standard output: takes wav, or raw floats with --raw; flac needs a file"},
             {"in.wav - --raw 48000", 2,
              "--raw 48000: in.wav is at 44100 Hz, and kelvane does not resample"},
             {"in.wav out.wav --raw 44100", 2, "--raw: is for standard input and output"},
             {"in.wav out.wav --stereo-width 1.5", 2, "--stereo-width: 1.5 is out of range"},
             {"in.wav out.wav --panorma 0.5", 2,
              "unknown option '--panorma'; did you mean '--panorama'?"},
             {"in.wav out.wav --block 0", 2, "--block 0: takes a whole number from 1 to 1024"},
             {"in.wav out.wav --block", 2, "--block needs a value"},
             {"in.wav out.wav --preset 3", 2, "--preset 3: takes a whole number from 0 to 2"},
             {"in.wav", 2, "OUT is required"},
             {"in.wav out.wav more.wav", 2, "'more.wav' is one argument too many"},
             {"in.wav out.wav --automation none.txt", 1,
              "none.txt: cannot read the automation: No such file"},
             {"in.wav out.wav --automation ''", 2, "--automation: needs a value"},
             {"in.wav out.wav --automation bad.txt", 1, "bad.txt:2: unknown parameter 'wdth'; "},
         }) {
        const auto run = shell("cd " + (folder / "") + " && $K render " + arguments);
        EXPECT_EQ(run.code, code) << arguments;
        EXPECT_THAT(run.err, testing::StartsWith("kelvane: ")) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message)) << arguments;
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "") << arguments;
        ASSERT_EQ(contents(out), "the old output") << arguments;
        ASSERT_EQ(folder.files(), files) << arguments;
    }
}

TEST_F(Render, AFullDiskOrAClosedPipeEndsWithOneLine) {
    write(out, "the old output");
    const auto files = folder.files();
    EXPECT_EQ(shell("$K render " + in + " /dev/full").err,
              "kelvane: /dev/full: cannot write: No space left on device\n");
    for (const char* name : {"out.wav", "out.flac", "out.ogg", "out.caf"}) {
        // A limit on the size of files stands in for the disk: 512 bytes a block.
        const auto run = shell("ulimit -f 20; $K render " + in + " " + (folder / name));
        EXPECT_EQ(run.code, 1) << name;
        EXPECT_THAT(run.err, HasSubstr("cannot write")) << name;
        EXPECT_EQ(folder.files(), files) << name;
    }
    EXPECT_EQ(contents(out), "the old output");
    const auto closed = shell("{ $K render " + in + " -; echo $? >&2; } | head -c 10 > /dev/null");
    EXPECT_EQ(closed.err, "kelvane: standard output: its reader closed it before the end\n1\n");
}

TEST_F(Render, ASignalRemovesWhatIsHalfDone) {
    write(out, "the old output");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // A new pipe each time: what the last one still holds must not be read.
        ASSERT_EQ(shell("rm -f " + (folder / "pipe") + "; mkfifo " + (folder / "pipe")).code, 0);
        const auto files = folder.files();
        // Nobody writes into the pipe beyond a header, so that the program is caught in the middle.
        const auto holder = shell("{ head -c 1000 " + in + "; exec sleep 100; } > " +
                                  (folder / "pipe") + " & echo $!");
        const auto run = interrupted({"render", folder / "pipe", out}, signal, folder);
        EXPECT_EQ(run.signal, signal);
        EXPECT_THAT(run.err, HasSubstr("the output is as it was"));
        EXPECT_EQ(contents(out), "the old output");
        EXPECT_EQ(folder.files(), files);
        shell("kill " + holder.out);
    }
}

TEST(Params, ListsAllNineAsJson) {
    const auto run = shell("$K params --json");
    ASSERT_EQ(run.code, 0);
    const auto list = nlohmann::json::parse(run.out);
    ASSERT_EQ(list.size(), 9U);
    EXPECT_EQ(list[1],
              nlohmann::json::parse(
                  R"({"address":1,"default":0.5,"identifier":"kPanorama","kernelOnly":false,
        "maximum":1.0,"minimum":0.0,"name":"Panorama","option":"panorama","unit":"generic"})"));
    EXPECT_EQ(list[8]["address"], 9);
    EXPECT_EQ(list[8]["kernelOnly"], true);
}

}  // namespace
