// kelvane render as a process: what a user meets at the shell.
#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <span>
#include <tuple>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

class Render : public ProgramTest {
 protected:
    Render() { save(in, {.samples = noise(2 * 30000)}); }

    ::Run render(const std::string& arguments) const { return kelvane("render " + arguments); }
    std::vector<double> rendered(const std::string& options) const {
        const auto run = render("in.wav out.wav " + options);
        EXPECT_EQ(run.code, 0) << options;
        EXPECT_EQ(run.err, "") << options;
        return load(out).samples;
    }

    const std::string in = folder / "in.wav";
    const std::string out = folder / "out.wav";
};

TEST_F(Render, BypassGivesBackEverySample) {
    for (const auto& [file, format] : {std::pair{"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
                                       {"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                                       {"o.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
                                       {"o.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_32},
                                       {"o.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
                                       {"o.au", SF_FORMAT_AU | SF_FORMAT_DOUBLE},
                                       {"o.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8},
                                       {"o.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
                                       {"o.caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_16},
                                       {"o.au", SF_FORMAT_AU | SF_FORMAT_ULAW},
                                       {"o.wav", SF_FORMAT_WAV | SF_FORMAT_ALAW}}) {
        Sound sound{.format = format, .samples = noise(20000)};
        for (auto& sample : sound.samples) sample /= 1.5;
        sound.samples[0] = -1;
        const int type = format & SF_FORMAT_SUBMASK;
        if (type == SF_FORMAT_FLOAT || type == SF_FORMAT_DOUBLE)
            std::ranges::copy(std::array<double, 3>{-3.5, 1e-40, NAN}, &sound.samples[5]);
        save(in, sound);
        const auto before = load(in).samples;
        EXPECT_EQ(render("in.wav "s + file + " --bypass --stereo-width 1 --volume 0").err, "");
        EXPECT_TRUE(contents(folder / file) == contents(in)) << file;
        // In another container, which takes the samples or floats, they are written anew.
        EXPECT_EQ(render("in.wav other.caf --bypass --panorama 1").err, "");
        const auto after = load(folder / "other.caf").samples;
        ASSERT_EQ(after.size(), before.size());
        EXPECT_EQ(std::memcmp(after.data(), before.data(), 8 * before.size()), 0) << file;
    }
}

TEST_F(Render, CopiesWhatIsBypassedThroughout) {
    Sound sound{.format = SF_FORMAT_WAV | SF_FORMAT_PCM_32, .samples = noise(2 * 100)};
    for (auto& sample : sound.samples) sample /= 1.5;  // more bits than a float has
    save(in, sound);
    for (const auto& [options, automation, isCopied] : {
             std::tuple{"", "", false},
             {"--bypass", "", true},
             {"", "0 set bypass on", true},
             {"--bypass", "0 set bypass off", false},
             {"--bypass", "50 set bypass off\n50 set bypass on", true},
             {"--bypass", "50 set bypass off\n51 set bypass on", false},
             {"--bypass", "100 set bypass off", true},
             {"--bypass", "50 set panorama 1", true},
         }) {
        write(folder / "moves", automation);
        EXPECT_EQ(render("in.wav out.wav --automation moves "s + options).code, 0);
        EXPECT_EQ(contents(out) == contents(in), isCopied) << options << automation;
    }
}

/// With nothing turned, only the delay line's shortest length is left of the effect: one frame, on
/// the left.
TEST_F(Render, EveryFrameStaysInItsPlaceAtAnyLengthAndBlockAndWhenBypassChanges) {
    // Frames, the longest block, and [first, end) of what is bypassed.
    using Stretches = std::vector<std::pair<std::size_t, std::size_t>>;
    std::vector<std::tuple<std::size_t, int, Stretches>> cases{
        {20000, 512, {{5000, 9000}}},
        {20000, 512, {{100, 101}}},
        {20000, 512, {{0, 3000}}},
        {20000, 512, {{3000, 3600}, {4000, 20000}, {4000, 20000}}},
        {20000, 512, {{3000, 3000}}}};
    for (const std::size_t frames : {1, 100, 2047, 2048, 2049, 5000})
        for (const int block : {1, 64, 512, 1024}) cases.emplace_back(frames, block, Stretches{});
    for (const auto& [frames, block, bypassed] : cases) {
        const auto input = noise(2 * frames);
        save(in, {.samples = input});
        std::string automation;
        for (const auto& [first, end] : bypassed)
            automation += fmt::format("{} set bypass on\n{} set bypass off\n", first, end);
        write(folder / "moves", automation);
        const auto output = rendered(fmt::format("--block {} --automation moves", block));
        ASSERT_EQ(output.size(), input.size());
        // Where processing goes on after a bypass, the delay line is empty, but for the very first
        // frame that it gets: there it takes its length, which repeats the frame before.
        auto expected = input;
        for (std::size_t i = 0; i < frames; ++i) expected[2 * i] = i > 0 ? input[2 * i - 2] : 0;
        for (const auto& [first, end] : bypassed) {
            for (auto i = first; i < end; ++i) expected[2 * i] = input[2 * i];
            if (end < frames && first > 0) expected[2 * end] = 0;
        }
        for (std::size_t i = 0; i < input.size(); ++i)
            ASSERT_EQ(output[i], expected[i]) << automation << ", frame " << i / 2;
    }
}

TEST_F(Render, PutsIntegersOfTheProcessedSideBackExactlyAndHoldsThemToFullScale) {
    std::vector<double> ramp;
    for (int i = -32768; i < 32768; ++i) ramp.insert(ramp.end(), {i / 32768.0, i / 32768.0});
    save(folder / "ramp.wav", {.samples = ramp});
    ASSERT_EQ(render("ramp.wav in.wav --bypass --subtype pcm16").code, 0);
    EXPECT_EQ(load(in).samples, ramp);
    const auto same = rendered("");
    for (std::size_t i = 1; i < ramp.size(); i += 2) ASSERT_EQ(same[i], ramp[i]);
    // All of both sides on one: 0.6 (L + R), and L is one frame late.
    ASSERT_EQ(render("in.wav out.wav -q --panorama 1 --block 1").code, 0);
    const auto hard = load(out).samples;
    EXPECT_EQ(hard[2 * 62000 + 1] * 32768, 32767) << "held, not wrapped";
    EXPECT_EQ(hard[2 * 40000 + 1] * 32768, std::lround(0.6 * (7232 + 7231)));
    EXPECT_EQ(hard[2 * 40000], 0);
}

TEST_F(Render, NotesClippedSamplesUnlessQuiet) {
    auto loud = noise(2 * 5000);
    for (auto& sample : loud) sample *= 3;
    save(in, {.samples = loud});
    auto sizes = rendered("");  // floats do not clip
    for (auto& sample : sizes) sample = std::abs(sample);
    const auto count = std::ranges::count_if(sizes, [](double size) { return size > 1; });
    const double peak = std::ranges::max(sizes);
    ASSERT_GT(count, 1000);
    const auto note = fmt::format(": {},{:03} samples clipped, peak {:+.1f} dBFS; ", count / 1000,
                                  count % 1000, 20 * std::log10(peak));
    for (const auto& [file, advice] : {std::pair{"out.aiff", "--subtype float keeps them\n"},
                                       {"out.flac", "a wav with --subtype float keeps them\n"}}) {
        const auto arguments = "in.wav "s + file + " --subtype pcm16";
        const auto run = render(arguments);
        EXPECT_EQ(run.code, 0);
        EXPECT_EQ(run.err, "kelvane: "s + file + note + advice);
        EXPECT_EQ(render(arguments + " -q").err, "");
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
        EXPECT_THAT(err,
                    HasSubstr(isReplaced ? "" : "out.wav: exists; -y (--overwrite) replaces it"));
        EXPECT_EQ(contents(out) == "the old output", !isReplaced) << command;
    }
}

TEST_F(Render, RendersWhatIsThereOfADamagedFileWhenAsked) {
    const auto expectSalvaged = [&](const std::string& bytes, const std::string& message,
                                    std::span<const double> begin, std::size_t most) {
        write(folder / "in", bytes);
        const auto refused = render("in out.wav");
        EXPECT_EQ(refused.code, 1) << message;
        EXPECT_THAT(refused.err, testing::AllOf(HasSubstr(message), HasSubstr("--salvage")));
        EXPECT_FALSE(std::filesystem::exists(out)) << message;
        EXPECT_THAT(render("in out.wav --salvage --bypass").err,
                    HasSubstr("frames that are there were rendered"));
        const auto kept = load(out).samples;
        ASSERT_GE(kept.size(), begin.size()) << message;
        EXPECT_LE(kept.size(), most) << message;
        EXPECT_TRUE(std::ranges::equal(std::span(kept).first(begin.size()), begin)) << message;
        std::filesystem::remove(out);
    };
    // Of each length in the header: a text, its offset from there, its bytes.
    using Lengths = std::vector<std::tuple<std::string, std::size_t, std::size_t>>;
    for (const auto& [container, lengths] : std::vector<std::pair<int, Lengths>>{
             {SF_FORMAT_WAV, {{"RIFF", 4, 4}, {"fact", 8, 4}, {"data", 4, 4}}},
             {SF_FORMAT_RF64, {{"ds64", 8, 24}}},
             {SF_FORMAT_W64, {{"riff", 16, 8}, {"fact", 24, 8}, {"data", 16, 8}}},
             {SF_FORMAT_AIFF, {{"FORM", 4, 4}, {"COMM", 10, 4}, {"SSND", 4, 4}}},
             {SF_FORMAT_CAF, {{"data", 4, 8}}},
             {SF_FORMAT_AU, {{".snd", 8, 4}}},
         })
        for (const int subtype : {SF_FORMAT_PCM_16, SF_FORMAT_FLOAT}) {
            SCOPED_TRACE(container | subtype);
            save(in, {.format = container | subtype, .samples = noise(6000)});
            const auto original = load(in).samples;
            const auto whole = contents(in);
            auto unfinished = whole;
            for (const auto& [text, offset, bytes] : lengths)
                if (const auto at = whole.find(text); at != std::string::npos)
                    unfinished.replace(at + offset, bytes, bytes, '\0');
            expectSalvaged(unfinished, "was never finished", original, 6000);
            const std::size_t kept = subtype == SF_FORMAT_FLOAT ? 6000 - 5008 / 4 : 6000 - 5004 / 2;
            expectSalvaged(whole.substr(0, whole.size() - 5001), "is truncated",
                           std::span(original).first(kept), kept);
        }
    for (const int format :
         {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_OGG | SF_FORMAT_VORBIS,
          SF_FORMAT_OGG | SF_FORMAT_OPUS, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III}) {
        SCOPED_TRACE(format);
        save(in, {.format = format, .rate = 48000, .samples = noise(200000)});
        const auto original = load(in).samples;
        const auto whole = contents(in);
        expectSalvaged(whole.substr(0, whole.size() * 3 / 4), "in: is truncated",
                       std::span(original).first(80000), original.size() - 1);
    }
    save(in, {.samples = noise(60000)});
    auto stopped = contents(in);
    stopped.replace(stopped.find("data") + 4, 4, "\0\x10\0\0"s);
    expectSalvaged(stopped, "its header gives 4096 bytes, and 240000", noise(60000), 60000);
}

TEST_F(Render, StreamsThroughPipesOfAnyLengthAndSaysWhatToDoWithOthers) {
    const auto wanted = rendered("--panorama 0.3");
    const auto piped = render("- - --panorama 0.3 --progress --diagnostics < in.wav > piped.wav");
    EXPECT_THAT(piped.err, HasSubstr("DIAGNOSTICS: QOW Kelvane DSP Kernel loaded.\n"));
    EXPECT_EQ(load(folder / "piped.wav").samples, wanted);
    // A producer that can't go back leaves the sizes open; any other size is a promise.
    const auto open = "\xFF\xFF\xFF\xFF"s;
    for (const auto& [container, field, size, message] :
         {std::tuple{SF_FORMAT_WAV, "RIFF"s, open, "^$"},
          {SF_FORMAT_WAV, "data"s, open, "^$"},
          {SF_FORMAT_AU, ".snd\0\0\0\x18"s, open, "^$"},
          {SF_FORMAT_AIFF, "SSND"s, "\x7F\0\0\x08"s, "^$"},
          {SF_FORMAT_WAV, "data"s, "\0\0\0\x40"s, "is truncated"},
          {SF_FORMAT_WAV, "data"s, "\0\0\0\0"s, "render that with --salvage"},
          {SF_FORMAT_RF64, ""s, ""s, "a pipe takes WAV"},
          {SF_FORMAT_W64, ""s, ""s, "a pipe takes WAV"},
          {SF_FORMAT_CAF, ""s, ""s, "a pipe takes WAV"},
          {SF_FORMAT_FLAC, ""s, ""s, "flac -dc"}}) {
        SCOPED_TRACE(message + field);
        save(in, {.format = container | SF_FORMAT_PCM_16, .samples = noise(6000)});
        const auto original = load(in).samples;
        auto bytes = contents(in);
        write(in, bytes.replace(bytes.find(field) + field.size(), size.size(), size));
        std::filesystem::remove(out);
        const auto run = shell("cat " + in + " | $K render --bypass - " + out);
        EXPECT_THAT(run.err, testing::ContainsRegex(message));
        EXPECT_EQ(run.code, run.err.empty() ? 0 : 1);
        ASSERT_EQ(std::filesystem::exists(out), run.err.empty());
        if (!run.err.empty()) continue;
        EXPECT_EQ(load(out).samples, original);
    }
}

TEST_F(Render, TakesValuesAsPeopleWriteThem) {
    for (const auto& [written, plain] : {std::pair{"--volume -6dB", "--volume 0.501187233627272"},
                                         {"--stereo-width -30%", "--stereo-width 0.35"},
                                         {"--phase-shift 5ms", "--phase-shift 221samples"},
                                         {"--swap-channels on", "--swap-channels"},
                                         {"--swap-channels off", ""},
                                         {"--bypass no", ""}})
        EXPECT_TRUE(rendered(written) == rendered(plain)) << written;
}

TEST_F(Render, TakesMonoOnlyWhenAsked) {
    const auto mono = noise(9000);
    save(in, {.channels = 1, .samples = mono});
    const auto stereo = rendered("--upmix --bypass");
    ASSERT_EQ(stereo.size(), 18000U);
    for (std::size_t i = 0; i < stereo.size(); ++i) ASSERT_EQ(stereo[i], mono[i / 2]);
}

TEST_F(Render, BadInputEndsWithOneLineAndLeavesTheOutputAlone) {
    const auto whole = contents(in);
    const auto data = whole.find("data");
    save(folder / "mono.wav", {.channels = 1, .samples = noise(100)});
    save(folder / "six.wav", {.channels = 6, .samples = noise(600)});
    write(folder / "cut.wav", whole.substr(0, 100001));
    write(folder / "header.wav", whole.substr(0, data + 6));
    write(folder / "begun.wav", whole.substr(0, data + 9));
    write(folder / "text.wav", "this is no sound");
    write(folder / "moves", "0 set volume 1");
    write(out, "the old output");
    std::filesystem::create_hard_link(in, folder / "link.wav");
    std::filesystem::create_directory(folder / "sub");
    const auto files = folder.files();
    for (const auto& [arguments, code, message] : {
             std::tuple{"gone.wav out.wav", 1, "gone.wav: there is no such file"},
             {"sub out.wav", 2, "out.wav: is not a folder, to which several files go"},
             {"text.wav out.wav", 1, "text.wav: not a sound file that can be read"},
             {"header.wav out.wav --salvage", 1, "header.wav: has no samples behind its header"},
             {"begun.wav out.wav --salvage", 1, "begun.wav: is truncated before its first whole"},
             {"- out.wav < cut.wav", 1, "standard input: is truncated: 140087 bytes are missing"},
             {"- out.wav --raw 48000 < cut.wav", 1, "is truncated: it ends 1 bytes into a frame"},
             {"mono.wav out.wav", 1, "mono.wav: is mono; --upmix puts it on both sides"},
             {"six.wav out.wav", 1, "six.wav: has 6 channels; kelvane takes stereo"},
             {"in.wav link.wav", 2, "link.wav: is the input, too"},
             {"in.wav moves --automation moves --format wav", 2, "moves: is the automation, too"},
             {"in.wav out.xyz", 2, "out.xyz: its ending names no format; choose one with --format"},
             {"in.wav nowhere/out.wav", 1, "nowhere/out.wav: cannot write: No such file"},
             {"in.wav out.wav --format wave64", 2, "--format wave64: not a format"},
             {"in.wav out.wav --subtype pcm12", 2, "not a subtype; the subtypes are float, "},
             {"in.wav out.wav --subtype vorbis", 1, "wav files don't take vorbis samples"},
             {"in.wav - --format flac", 2,
              "takes wav, or raw floats with --raw; flac needs a file"},
             {"in.wav - --raw 48000", 2, "in.wav is at 44100 Hz, and kelvane does not resample"},
             {"in.wav out.wav --raw 44100", 2, "--raw: is for standard input and output"},
             {"in.wav out.wav --stereo-width 1.5", 2, "--stereo-width: 1.5 is out of range"},
             {"in.wav out.wav --panorma 0.5", 2, "'--panorma'; did you mean '--panorama'?"},
             {"in.wav out.wav --block 0", 2, "--block 0: takes a whole number from 1 to 1024"},
             {"in.wav out.wav --block", 2, "--block needs a value"},
             {"in.wav", 2, "OUT is required"},
             {"in.wav out.wav more.wav", 2, "more.wav: is not a folder"},
             {"in.wav out.wav --automation none", 1, "none: cannot read the automation: No such"},
             {"in.wav out.wav --midi none", 1, "none: cannot be read"},
             {"in.wav out.wav --automation ''", 2, "--automation: needs a value"},
             {"in.wav /dev/full", 1, "/dev/full: cannot write: No space left on"},
         }) {
        const auto run = render(arguments);
        EXPECT_EQ(run.code, code) << arguments;
        EXPECT_THAT(run.err, testing::StartsWith("kelvane: ")) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message)) << arguments;
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "") << arguments;
        ASSERT_EQ(contents(out), "the old output") << arguments;
        ASSERT_EQ(folder.files(), files) << arguments;
    }
}

TEST_F(Render, AFullDiskAClosedPipeOrASignalLeavesWhatWasThere) {
    write(out, "the old output");
    const auto files = folder.files();
    for (const char* name : {"out.wav", "out.flac", "out.ogg", "out.caf"}) {
        // A limit on the size of files stands in for the disk: 512 bytes a block.
        const auto run = shell("ulimit -f 20; $K render " + in + " " + (folder / name));
        EXPECT_EQ(run.code, 1) << name;
        EXPECT_THAT(run.err, HasSubstr("cannot write")) << name;
    }
    const auto closed = shell("{ $K render " + in + " -; echo $? >&2; } | head -c 10 > /dev/null");
    EXPECT_EQ(closed.err, "kelvane: standard output: its reader closed it before the end\n1\n");
    // The input stops after its header; the temporary file shows that the program is at work.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto run = shell(fmt::format(
            "cd {}; mkfifo pipe; exec 9<>pipe; head -c 1000 in.wav >&9; "
            "env --default-signal $K render pipe out.wav & "
            "for i in $(seq 2000); do ls -A | grep -q ^.out && break; sleep 0.01; done; "
            "kill -{} $!; wait $!; code=$?; rm pipe; exit $code",
            folder.path(), signal));
        EXPECT_EQ(run.code, 128 + signal);
        EXPECT_THAT(run.err, HasSubstr("the output is as it was"));
    }
    EXPECT_EQ(contents(out), "the old output");
    EXPECT_EQ(folder.files(), files);
}

TEST(Params, ListsAllNineAsJson) {
    const auto list = shell("$K params --json | python3 -m json.tool --compact").out;
    EXPECT_THAT(list, HasSubstr(R"({"address":1,"identifier":"kPanorama","name":"Panorama",)"
                                R"("option":"panorama","minimum":0.0,"maximum":1.0,"default":0.5,)"
                                R"("unit":"generic","kernelOnly":false})"));
    EXPECT_THAT(list, testing::EndsWith(R"("unit":"linear gain","kernelOnly":true}])"
                                        "\n"));
    EXPECT_EQ(std::ranges::count(list, '{'), 9);
}

}  // namespace
