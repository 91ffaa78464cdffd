// Lengths at which anything that grows would show.
// KELVANE_SOAK_MINUTES, with any value, makes them longer.
#include <cstdlib>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"
#include "tests/support/sanitized.h"

namespace {

const bool isSoak = std::getenv("KELVANE_SOAK_MINUTES") != nullptr;

/// A file of silence but for its last frame.
void saveHole(const std::string& path, std::int64_t frames) {
    save(path, {.format = SF_FORMAT_W64 | SF_FORMAT_FLOAT,
                .silence = frames - 1,
                .samples = {0.25, -0.5}});
}

using Streaming = ProgramTest;
TEST_F(Streaming, MemoryDoesNotGrowWithTheLengthOfAFileOrStream) {
#ifdef QOV_SANITIZED
    GTEST_SKIP() << "a sanitizer's shadow is resident, too";
#endif
    const auto peakOf = [&](std::int64_t frames) {
        saveHole(folder / "in.w64", frames);
        const auto run = kelvane("render in.w64 /dev/null --stereo-width 0.9");
        EXPECT_EQ(run.code, 0) << run.err;
        return run.peakKilobytes;
    };
    constexpr std::int64_t hour = 3600 * 48000, quick = 20'000'000;  // frames
    const long second = peakOf(48000);
    const long file = peakOf(isSoak ? hour : quick);
    const auto bytes = std::to_string((isSoak ? 24 * hour : quick) * 8);
    const auto stream =
        shell("head -c " + bytes + " /dev/zero | $K render - - --raw 48000 --panorama 0.4 | wc -c");
    EXPECT_EQ(stream.out, bytes + "\n") << stream.err;
    constexpr long noise = 2048;  // KiB from one run to the next; a tenth of a byte a frame
    EXPECT_LT(file, second + noise);
    EXPECT_LT(stream.peakKilobytes, second + noise);
    std::cout << "peak memory: " << file << " and " << stream.peakKilobytes << " KiB\n";
}

TEST_F(Streaming, AFormatThatEndsAt4GiBRefusesMore) {
    saveHole(folder / "in.w64", (std::int64_t{1} << 32) / 8 + 100'000);
    EXPECT_EQ(kelvane("render in.w64 out.aiff").err,
              "kelvane: out.aiff: aiff files end at 4 GiB, and this sound does not; take wav, w64, "
              "rf64 or caf\n");
    EXPECT_EQ(folder.files(), std::vector<std::string>{"in.w64"});
}

}  // namespace
