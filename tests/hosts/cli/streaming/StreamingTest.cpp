// Lengths at which anything that grows would show.
#include <filesystem>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

constexpr long limit = 64 * 1024;  // KiB resident

TEST(Streaming, AnHourOfFileAndADayOfRawStreamStayUnder64MiB) {
    if (isSanitized) GTEST_SKIP() << "a sanitizer's shadow is resident, too";
    const Folder folder;
    const auto path = folder / "hour.w64";
    save(path, {.format = SF_FORMAT_W64 | SF_FORMAT_FLOAT, .rate = 48000, .samples = noise(2)});
    // A hole of silence makes the file long; sizes in a header with a gap of 8 GiB are put in by
    // hand.
    constexpr std::int64_t bytes = std::int64_t{3600} * 48000 * 8;
    auto header = contents(path);
    const auto data = header.find("data\xF3\xAC\xD3\x11");
    ASSERT_NE(data, std::string::npos);
    const auto put = [&](std::size_t at, std::int64_t value) {
        for (int i = 0; i < 8; ++i)
            header[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
    };
    put(data + 16, bytes + 24);
    put(16, static_cast<std::int64_t>(data) + 24 + bytes);
    write(path, header);
    std::filesystem::resize_file(path, data + 24 + bytes);
    const auto hour = shell("exec $K render " + path + " /dev/null --stereo-width 0.9");
    EXPECT_EQ(hour.code, 0) << hour.err;
    EXPECT_LT(hour.peakKilobytes, limit);

    const auto day = shell(
        "head -c 5529600000 /dev/zero | (exec $K render - - --raw 8000 --panorama 0.4) | wc -c");
    EXPECT_EQ(day.out, "5529600000\n") << day.err;
    EXPECT_LT(day.peakKilobytes, limit);
}

}  // namespace
