#include "platform/foundation/path.h"

#include <gtest/gtest.h>

namespace {

using Components = std::vector<std::string>;

struct PathCase {
    std::string path, last, rest, extension;
    Components components;
};

class Path : public testing::TestWithParam<PathCase> {};

TEST_P(Path, IsTakenApartAsDocumented) {
    const auto& expected = GetParam();
    EXPECT_EQ(platform::path::lastPathComponent(expected.path), expected.last);
    EXPECT_EQ(platform::path::deletingLastPathComponent(expected.path), expected.rest);
    EXPECT_EQ(platform::path::pathExtension(expected.path), expected.extension);
    EXPECT_EQ(platform::path::pathComponents(expected.path), expected.components);
    EXPECT_EQ(platform::path::pathComponentCount(expected.path), std::ssize(expected.components));
}

// The examples of the platform's documentation and the corners between them.
INSTANTIATE_TEST_SUITE_P(
    All, Path,
    testing::Values(
        PathCase{"", "", "", "", {}}, PathCase{"/", "/", "/", "", {"/"}},
        PathCase{"//", "/", "/", "", {"/"}}, PathCase{"a", "a", "", "", {"a"}},
        PathCase{"/tmp", "tmp", "/", "", {"/", "tmp"}},
        PathCase{"/tmp/", "tmp", "/", "", {"/", "tmp", "/"}},
        PathCase{"/tmp/lock/", "lock", "/tmp", "", {"/", "tmp", "lock", "/"}},
        PathCase{"/tmp/scratch.tiff", "scratch.tiff", "/tmp", "tiff", {"/", "tmp", "scratch.tiff"}},
        PathCase{"scratch///", "scratch", "", "", {"scratch", "/"}},
        PathCase{"a//b", "b", "a", "", {"a", "b"}},
        PathCase{"music/set/a.wav", "a.wav", "music/set", "wav", {"music", "set", "a.wav"}},
        PathCase{".scratch.tiff", ".scratch.tiff", "", "tiff", {".scratch.tiff"}},
        PathCase{"a/.profile", ".profile", "a", "", {"a", ".profile"}},
        PathCase{"scratch..tiff", "scratch..tiff", "", "tiff", {"scratch..tiff"}},
        PathCase{"a.", "a.", "", "", {"a."}}, PathCase{"a.d/b", "b", "a.d", "", {"a.d", "b"}},
        PathCase{"x/\xff\n'<.b", "\xff\n'<.b", "x", "b", {"x", "\xff\n'<.b"}}));

}  // namespace
