// Lengths at which anything that grows would show.
// KELVANE_SOAK_MINUTES, with any value, lets them take their time.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/support/sanitized.h"

namespace {

constexpr long limit = 64 * 1024;  // KiB resident

/// A W64 file of silence but for its last two frames: a hole on the disk. Its header's sizes, which
/// leave 8 GiB and more, are put in by hand.
void saveHole(const std::string& path, std::int64_t frames) {
    save(path, Sound<float>{.format = SF_FORMAT_W64 | SF_FORMAT_FLOAT,
                            .rate = 48000,
                            .samples = {0.25F, -0.5F, 0.125F, 0.75F}});
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

TEST(Streaming, AnHourOfFileAndADayOfRawStreamStayUnder64MiB) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "a sanitizer's shadow is resident, too";
#endif
    const TemporaryFolder folder;
    const auto path = folder / "hour.w64";
    saveHole(path, 3600 * 48000);
    const auto hour = shell("exec $K render " + path + " /dev/null --stereo-width 0.9");
    EXPECT_EQ(hour.code, 0) << hour.err;
    EXPECT_LT(hour.peakKilobytes, limit);

    // Of speech quality; at 48 kHz where there is time.
    const std::string rate = std::getenv("KELVANE_SOAK_MINUTES") ? "48000" : "8000";
    const auto bytes = std::to_string(std::int64_t{86400} * 8 * std::stoi(rate));
    const auto day = shell("head -c " + bytes + " /dev/zero | (exec $K render - - --raw " + rate +
                           " --panorama 0.4) | wc -c");
    EXPECT_EQ(day.out, bytes + "\n") << day.err;
    EXPECT_LT(day.peakKilobytes, limit);
    std::cout << "peak memory: " << hour.peakKilobytes << " and " << day.peakKilobytes << " KiB\n";
}

constexpr std::int64_t beyond4GiB = (std::int64_t{1} << 32) / 8 + 100'000;  // frames

TEST(Streaming, AFormatThatEndsAt4GiBSaysSoBeforeItWrites) {
    const TemporaryFolder folder;
    saveHole(folder / "in.w64", beyond4GiB);
    const auto run = shell("cd " + (folder / "") + " && $K render in.w64 out.aiff");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err,
              "kelvane: out.aiff: aiff files end at 4 GiB, and this sound does not; take wav, w64, "
              "rf64 or caf\n");
    EXPECT_EQ(folder.files(), std::vector<std::string>{"in.w64"});
}

TEST(Streaming, FilesPast4GiBKeepTheirLengthAndTheirLastFrames) {
    if (!std::getenv("KELVANE_SOAK_MINUTES"))
        GTEST_SKIP() << "writes 4 GiB several times; tools/soak big-files";
    const TemporaryFolder folder;
    saveHole(folder / "in.w64", beyond4GiB);
    for (const char* name : {"out.wav", "out.w64", "out.caf", "out.au"}) {
        const auto path = folder / name;
        ASSERT_EQ(shell("$K render " + (folder / "in.w64") + " " + path).code, 0) << name;
        SF_INFO info{};
        SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(info.frames, beyond4GiB) << name;
        std::cout << name << ": " << std::filesystem::file_size(path) << " bytes, "
                  << (info.format == (SF_FORMAT_RF64 | SF_FORMAT_FLOAT) ? "as RF64\n" : "\n");
        float last[4] = {};
        sf_seek(file, -2, SEEK_END);
        EXPECT_EQ(sf_readf_float(file, last, 2), 2) << name;
        sf_close(file);
        // The neutral effect leaves the left channel a frame late.
        EXPECT_THAT(last, testing::ElementsAre(0, -0.5F, 0.25F, 0.75F)) << name;
        std::filesystem::remove(path);
    }
    // A stream's length is unknown beforehand, so it is stopped where the format ends.
    const auto run = shell("cd " + (folder / "") + " && head -c 4400000000 /dev/zero | " +
                           "$K render - out.aiff --raw 48000");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, testing::HasSubstr("aiff files end at 4 GiB"));
    EXPECT_EQ(folder.files(), std::vector<std::string>{"in.w64"});
}

}  // namespace
