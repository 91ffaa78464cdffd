// kelvane render and measure with many files, as processes.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

class Batch : public ProgramTest {
 protected:
    Batch() {
        std::filesystem::create_directories(folder / "in/sub/__MACOSX");
        std::filesystem::create_directories(folder / "empty");
        for (const auto* name :
             {"in/a.wav", "in/sub/a.wav", "in/sub/b.flac", "other.wav", "in/sub/__MACOSX/._a.wav"})
            save(folder / name,
                 {.format = std::string(name).ends_with("flac") ? SF_FORMAT_FLAC | SF_FORMAT_PCM_16
                                                                : SF_FORMAT_WAV | SF_FORMAT_PCM_16,
                  .samples = noise(10000)});
        write(folder / "in/notes.txt", "no sound");
        write(folder / "in/broken.wav", "no sound");
        write(folder / "list", "in/a.wav\r\n\nin/sub/a.wav\n");
        write(folder / "zeros", {"in/a.wav\0in/a\nb.wav", 20});
    }
    /// The files below a folder, with their sums.
    std::string sums(const std::string& path) const {
        return shell("cd " + (folder / path) + " && find . -type f | sort | xargs sha256sum").out;
    }
};

TEST_F(Batch, RendersAFolderAsEachFileAloneWhateverTheNumberOfWorkers) {
    for (const auto* workers : {"1", "3"}) {
        const auto run = kelvane(std::string("render in out/ --panorama L30 -j ") + workers);
        EXPECT_EQ(run.code, 1);
        EXPECT_THAT(run.err, AllOf(HasSubstr("kelvane: in/broken.wav: "),
                                   HasSubstr("kelvane: 4 files: 3 rendered, 1 failed\n")));
        std::filesystem::rename(folder / "out", folder / workers);
    }
    EXPECT_EQ(sums("1"), sums("3"));
    std::filesystem::create_directories(folder / "alone/sub");
    for (const auto* name : {"a.wav", "sub/a.wav", "sub/b.flac"})
        EXPECT_EQ(kelvane(std::string("render --panorama L30 in/") + name + " alone/" + name).code,
                  0);
    EXPECT_EQ(sums("1"), sums("alone"));
}

TEST_F(Batch, SharesOfAListCoverItOnceAndSkipWhatIsDone) {
    int rendered = 0;
    for (const auto* share : {"1/3", "2/3", "3/3"}) {
        const auto run = kelvane(std::string("render out/ --files-from - --format flac --shard ") +
                                 share + " <list");
        EXPECT_EQ(run.code, 0) << run.err;
        rendered += run.err.at(sizeof "kelvane: " - 1) - '0';
    }
    EXPECT_EQ(rendered, 2);
    EXPECT_THAT(sums("out"), AllOf(HasSubstr("./in/a.flac"), HasSubstr("./in/sub/a.flac")));
    const auto before = sums("out");
    std::filesystem::remove(folder / "out/in/a.flac");
    EXPECT_THAT(kelvane("render out/ --files-from list --format flac --skip-done").err,
                HasSubstr("kelvane: 2 files: 1 rendered, 1 skipped\n"));
    EXPECT_EQ(sums("out"), before);
}

TEST_F(Batch, SaysInOneLineWhatCannotBe) {
    expectErrors(
        "",
        {{"render in/a.wav in/sub/a.wav out/ --shard 1/9", 2,
          "in/a.wav and in/sub/a.wav: both would become out/a.wav\n"},
         {"render in in/out/", 2, "in/out/: lies in in; another run would take its files"},
         {"render in/a.wav in/", 2, "in/a.wav: is an input, too; take another folder\n"},
         {"render in other.wav/", 2, "other.wav/: is a file, and several files go to a folder\n"},
         {"render in out/ --subtype pcm99", 2, "kelvane: --subtype pcm99: not a subtype; "},
         {"render empty out/", 1, "kelvane: empty: has no sound files below it\n"},
         {"render gone.wav other.wav out/", 1, "kelvane: gone.wav: there is no such file\n"},
         {"render out/ --files-from gone", 1, "kelvane: gone: No such file or directory\n"},
         {"measure in other.wav --shard 0/2", 2, "--shard 0/2: takes I/N"},
         {"measure in other.wav -j 0", 2, "--jobs 0: takes a whole number from 1"},
         {"measure in/sub other.wav --fail-if 'correlation<1'", 3, "in/sub/b.flac: correlation is"},
         {"measure empty other.wav --fail-if 'correlation<1'", 1, "\nkelvane: other.wav: corr"},
         {"measure --files-from zeros", 1, "kelvane: in/a\nb.wav: there is no such file\n"},
         {"measure --files-from /dev/null", 1, "kelvane: /dev/null: names no files\n"},
         {"measure - other.wav", 2, "-: standard input is a file by itself\n"}});
    EXPECT_EQ(kelvane("measure in other.wav --csv -j 1").out,
              kelvane("measure in other.wav --csv -j 3").out);
}

TEST_F(Batch, LeavesFinishedFilesAndNoOthersWhereItIsEnded) {
    const int format = SF_FORMAT_W64 | SF_FORMAT_FLOAT;
    save(folder / "in/long.w64", {.format = format, .silence = 500'000'000, .samples = {0, 0}});
    const auto run = shell("cd " + folder.path() +
                           " && { $K render in/sub in/long.w64 out/ -j 1 & "
                           "until ls -A out 2>&1 | grep -q [.]long; do :; done; kill $!; wait $!; "
                           "echo $?; }");
    EXPECT_EQ(run.out, "143\n") << run.err;
    EXPECT_THAT(run.err, HasSubstr("kelvane: interrupted after 2 of 3 files: 2 rendered; "
                                   "--skip-done goes on from there\n"));
    EXPECT_EQ(shell("ls -A " + (folder / "out")).out, "a.wav\nb.flac\n");
}

TEST_F(Batch, ThePagesCommandsRenderWhatAKilledWorkerLeft) {
    const auto page = contents(KELVANE_SCALE_PAGE);
    const auto begin = page.find("```sh\n") + 6;
    write(folder / "commands", page.substr(begin, page.find("```", begin) - begin));
    std::filesystem::create_directories(folder / "recordings");
    for (int i = 0; i < 30; ++i)
        save(folder / ("recordings/" + std::to_string(i) + ".wav"), {.samples = noise(1000)});
    save(folder / "recordings/long.wav", {.silence = 20'000'000, .samples = {0, 0}});
    write(folder / "kill",
          "until f=$(ls -A mended/recordings | grep '^[.]long'); do :; done 2>/dev/null\n"
          "process=${f%-*}; kill -9 $((0x${process##*.}))\n");
    const auto run = shell("cd " + folder.path() +
                           "; export PATH=${K%/*}:$PATH MACHINES=:; sh kill & sh commands && "
                           "wait $! && kelvane render recordings once/recordings/ "
                           "--invert-channel && diff -r once mended && echo same");
    EXPECT_EQ(run.out, "same\n") << run.err;
}

}  // namespace
