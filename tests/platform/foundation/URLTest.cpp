#include "platform/foundation/URL.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using platform::URL;
using ::testing::Optional;

struct Parts {
    const char* text;
    const char* scheme;
    const char* host;
    int port;  // -1 for none
    const char* path;
    bool directory;
    const char* last;
};

class Parsed : public testing::TestWithParam<Parts> {};

TEST_P(Parsed, HasTheseParts) {
    const auto& expected = GetParam();
    const auto url = URL::withString(expected.text);
    ASSERT_TRUE(url) << expected.text;
    EXPECT_EQ(url->absoluteString(), expected.text);
    EXPECT_EQ(url->scheme(), expected.scheme);
    EXPECT_EQ(url->host(), expected.host);
    EXPECT_EQ(url->port().value_or(-1), expected.port);
    EXPECT_EQ(url->path(), expected.path);
    EXPECT_EQ(url->hasDirectoryPath(), expected.directory);
    EXPECT_EQ(url->lastPathComponent(), expected.last);
}

// The parts as RFC 3986 divides them.
INSTANTIATE_TEST_SUITE_P(
    All, Parsed,
    testing::Values(Parts{"http://example.com", "http", "example.com", -1, "", false, ""},
                    Parts{"HTTPS://u:p@example.com:8443/a/b.png?x=/1#/f", "HTTPS", "example.com",
                          8443, "/a/b.png", false, "b.png"},
                    Parts{"http://[::1]:80/", "http", "::1", 80, "/", true, "/"},
                    Parts{"file:///tmp/a%20b/", "file", "", -1, "/tmp/a b", true, "a b"},
                    Parts{"FILE:/tmp/%C3%A9.png", "FILE", "", -1, "/tmp/é.png", false, "é.png"},
                    Parts{"images/a.png", "", "", -1, "images/a.png", false, "a.png"},
                    Parts{"file:///a%00b", "file", "", -1, "", false, ""},
                    Parts{"mailto:a@b", "mailto", "", -1, "a@b", false, "a@b"},
                    Parts{"#top", "", "", -1, "", false, ""}));

class Refused : public testing::TestWithParam<const char*> {};

TEST_P(Refused, IsNoURL) {
    EXPECT_FALSE(URL::withString(GetParam())) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(All, Refused,
                         testing::Values("", " ", "http://a b", "http://a/b c", "http://ä/",
                                         "http://a/%", "http://a/%2", "http://a/%zz", "http://a\n",
                                         "http://a:port/", "http://a:70000/", "http://[::1/",
                                         "http://[xyz]/", "1http://a", "://a", ":", "http://a/[b]",
                                         "http://a/#b#c", "a\\b", "<a>", "\"", "{}", "^", "`",
                                         "|"));

TEST(FileURL, EncodesAnyNameAndGivesItBack) {
    std::string all = "/";
    for (int c = 1; c < 256; ++c) {
        if (c != '/') all += static_cast<char>(c);
    }
    const auto url = URL::fileURLWithPath(all, false);
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.path(), all);
    const auto again = URL::withString(url.absoluteString());
    ASSERT_TRUE(again) << url.absoluteString();
    EXPECT_EQ(again->path(), all);
    EXPECT_EQ(*again, url);
    EXPECT_EQ(URL::fileURLWithPath("/a b?#%é", false).absoluteString(),
              "file:///a%20b%3F%23%25%C3%A9");
}

TEST(FileURL, KnowsFoldersAndTheCurrentDirectory) {
    namespace fs = std::filesystem;
    const auto folder = fs::temp_directory_path().string();
    EXPECT_EQ(URL::fileURLWithPath(folder).absoluteString(), "file://" + folder + "/");
    EXPECT_EQ(URL::fileURLWithPath(folder).path(), folder);
    EXPECT_EQ(URL::fileURLWithPath("/").path(), "/");
    EXPECT_TRUE(URL::fileURLWithPath("/nowhere/", false).hasDirectoryPath());
    EXPECT_EQ(URL::fileURLWithPath("a.png").path(), (fs::current_path() / "a.png").string());
}

}  // namespace
