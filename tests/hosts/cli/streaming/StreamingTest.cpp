// Lengths at which anything that grows would show.
// KELVANE_SOAK_MINUTES, with any value, makes them longer and adds files past 4 GiB.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/support/sanitized.h"

namespace {

const bool isSoak = std::getenv("KELVANE_SOAK_MINUTES") != nullptr;

/// A W64 file of silence but for its last two frames: a hole on the disk. Its header's sizes, which
/// reach 8 GiB and more, are written by hand.
void saveHole(const std::string& path, std::int64_t frames) {
    save(path, {.format = SF_FORMAT_W64 | SF_FORMAT_FLOAT,
                .rate = 48000,
                .samples = {0.25, -0.5, 0.125, 0.75}});
    const std::int64_t bytes = frames * 8;
    const auto file = contents(path);
    auto header = file;
    const auto data = header.find("data\xF3\xAC\xD3\x11");
    ASSERT_NE(data, std::string::npos);
    const auto put = [&](std::size_t at, std::int64_t value) {
        for (int i = 0; i < 8; ++i)
            header[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
    };
    put(data + 16, bytes + 24);
    put(16, static_cast<std::int64_t>(data) + 24 + bytes);
    header.resize(data + 24);
    write(path, header);
    std::filesystem::resize_file(path, data + 24 + bytes - 16);
    std::ofstream(path, std::ios::binary | std::ios::app) << file.substr(data + 24, 16);
}

TEST(Streaming, MemoryDoesNotGrowWithTheLengthOfAFileOrStream) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "a sanitizer's shadow is resident, too";
#endif
    const TemporaryFolder folder;
    const auto peakOf = [&](std::int64_t frames) {
        saveHole(folder / "in.w64", frames);
        const auto run =
            shell("exec $K render " + (folder / "in.w64") + " /dev/null --stereo-width 0.9");
        EXPECT_EQ(run.code, 0) << run.err;
        return run.peakKilobytes;
    };
    constexpr std::int64_t hour = 3600 * 48000, quick = 20'000'000;  // frames
    const long second = peakOf(48000);
    const long file = peakOf(isSoak ? hour : quick);
    const auto bytes = std::to_string((isSoak ? 24 * hour : quick) * 8);
    const auto stream =
        shell("head -c " + bytes +
              " /dev/zero | (exec $K render - - --raw 48000 --panorama 0.4) | wc -c");
    EXPECT_EQ(stream.out, bytes + "\n") << stream.err;
    constexpr long noise = 2048;  // KiB from one run to the next; a tenth of a byte a frame
    EXPECT_LT(file, second + noise);
    EXPECT_LT(stream.peakKilobytes, second + noise);
    std::cout << "peak memory: " << file << " and " << stream.peakKilobytes << " KiB\n";
}

TEST(Streaming, FilesPast4GiBKeepTheirLengthAndTheirLastFrames) {
    const TemporaryFolder folder;
    const auto at = "cd " + (folder / "") + " && ";
    const std::string refusal =
        "kelvane: out.aiff: aiff files end at 4 GiB, and this sound does not; take wav, w64, rf64 "
        "or caf\n";
    constexpr std::int64_t frames = (std::int64_t{1} << 32) / 8 + 100'000;
    saveHole(folder / "in.w64", frames);
    EXPECT_EQ(shell(at + "$K render in.w64 out.aiff").err, refusal);
    EXPECT_EQ(folder.files(), std::vector<std::string>{"in.w64"});
    if (!isSoak) GTEST_SKIP() << "the rest writes 4 GiB several times; tools/soak big-files";
    for (const char* name : {"out.wav", "out.w64", "out.caf", "out.au"}) {
        ASSERT_EQ(shell(at + "$K render in.w64 " + name).code, 0) << name;
        SF_INFO info{};
        SNDFILE* const file = sf_open((folder / name).c_str(), SFM_READ, &info);
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(info.frames, frames) << name;
        std::cout << name << ": " << std::filesystem::file_size(folder / name) << " bytes, "
                  << (info.format == (SF_FORMAT_RF64 | SF_FORMAT_FLOAT) ? "as RF64\n" : "\n");
        float last[4] = {};
        sf_seek(file, -2, SEEK_END);
        EXPECT_EQ(sf_readf_float(file, last, 2), 2) << name;
        sf_close(file);
        // The neutral effect leaves the left channel a frame late.
        EXPECT_THAT(last, testing::ElementsAre(0, -0.5F, 0.25F, 0.75F)) << name;
        std::filesystem::remove(folder / name);
    }
    // A stream's length is unknown beforehand, so it is stopped where the format ends.
    EXPECT_EQ(shell(at + "head -c 4400000000 /dev/zero | $K render - out.aiff --raw 48000").err,
              refusal);
    EXPECT_EQ(folder.files(), std::vector<std::string>{"in.w64"});
}

}  // namespace
