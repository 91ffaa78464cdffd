#include "platform/foundation/path.h"

#include <gtest/gtest.h>

namespace {

struct PathCase {
    std::string path, last, rest, extension;
    long components;
};

class Path : public testing::TestWithParam<PathCase> {};

TEST_P(Path, IsTakenApartAsDocumented) {
    const auto& expected = GetParam();
    EXPECT_EQ(platform::path::lastPathComponent(expected.path), expected.last);
    EXPECT_EQ(platform::path::deletingLastPathComponent(expected.path), expected.rest);
    EXPECT_EQ(platform::path::pathExtension(expected.path), expected.extension);
    EXPECT_EQ(platform::path::pathComponentCount(expected.path), expected.components);
}

// The examples of the platform's documentation and the corners between them.
INSTANTIATE_TEST_SUITE_P(
    All, Path,
    testing::Values(PathCase{"", "", "", "", 0}, PathCase{"/", "/", "/", "", 1},
                    PathCase{"//", "/", "/", "", 1}, PathCase{"a", "a", "", "", 1},
                    PathCase{"/tmp", "tmp", "/", "", 2}, PathCase{"/tmp/", "tmp", "/", "", 3},
                    PathCase{"/tmp/lock/", "lock", "/tmp", "", 4},
                    PathCase{"/tmp/scratch.tiff", "scratch.tiff", "/tmp", "tiff", 3},
                    PathCase{"scratch///", "scratch", "", "", 2}, PathCase{"a//b", "b", "a", "", 2},
                    PathCase{"music/set/a.wav", "a.wav", "music/set", "wav", 3},
                    PathCase{".scratch.tiff", ".scratch.tiff", "", "tiff", 1},
                    PathCase{"a/.profile", ".profile", "a", "", 2},
                    PathCase{"scratch..tiff", "scratch..tiff", "", "tiff", 1},
                    PathCase{"a.", "a.", "", "", 1}, PathCase{"a.d/b", "b", "a.d", "", 2},
                    PathCase{"x/\xff\n'<.b", "\xff\n'<.b", "x", "b", 2}));

}  // namespace
