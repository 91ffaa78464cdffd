#include "platform/foundation/URL.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "platform/foundation/Bundle.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::Bundle;
using platform::URL;
namespace fs = std::filesystem;

// Scheme, host, port, path and last component as RFC 3986 divides them; "/" marks a folder.
TEST(URL, IsDividedIntoParts) {
    using Case = std::pair<const char*, const char*>;
    for (const auto& [text, parts] :
         {Case{"http://example.com", "http|example.com|-1|||"},
          Case{"HTTPS://u:p@example.com:8443/a/b.png?x=/1#/f",
               "HTTPS|example.com|8443|/a/b.png|b.png|"},
          Case{"http://[::1]:80/", "http|::1|80|/|/|/"},
          Case{"file:///tmp/a%20b/", "file||-1|/tmp/a b|a b|/"},
          Case{"FILE:/tmp/%C3%A9.png", "FILE||-1|/tmp/é.png|é.png|"},
          Case{"images/a.png", "||-1|images/a.png|a.png|"}, Case{"file:///a%00b", "file||-1|||"},
          Case{"mailto:a@b", "mailto||-1|a@b|a@b|"}, Case{"#top", "||-1|||"}}) {
        const auto url = URL::withString(text);
        ASSERT_TRUE(url) << text;
        EXPECT_EQ(url->absoluteString(), text);
        EXPECT_EQ(url->scheme() + "|" + url->host() + "|" +
                      std::to_string(url->port().value_or(-1)) + "|" + url->path() + "|" +
                      url->lastPathComponent() + "|" + (url->hasDirectoryPath() ? "/" : ""),
                  parts);
    }
    for (const auto* text : {"",
                             " ",
                             "http://a b",
                             "http://a/b c",
                             "http://ä/",
                             "http://a/%",
                             "http://a/%2",
                             "http://a/%zz",
                             "http://a\n",
                             "http://a:port/",
                             "http://a:70000/",
                             "http://[::1/",
                             "http://[xyz]/",
                             "1http://a",
                             "://a",
                             ":",
                             "http://a/[b]",
                             "http://a/#b#c",
                             "a\\b",
                             "<a>",
                             "\"",
                             "{}",
                             "^",
                             "`",
                             "|"})
        EXPECT_FALSE(URL::withString(text)) << text;
}

TEST(FileURL, EncodesAnyNameAndGivesItBack) {
    std::string all = "/";
    for (int c = 1; c < 256; ++c) {
        if (c != '/') all += static_cast<char>(c);
    }
    const auto url = URL::fileURLWithPath(all, false);
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.path(), all);
    EXPECT_EQ(URL::withString(url.absoluteString()), url);
    EXPECT_EQ(URL::fileURLWithPath("/a b?#%é", false).absoluteString(),
              "file:///a%20b%3F%23%25%C3%A9");
}

TEST(FileURL, KnowsFoldersAndTheCurrentDirectory) {
    const auto folder = fs::temp_directory_path().string();
    EXPECT_EQ(URL::fileURLWithPath(folder).absoluteString(), "file://" + folder + "/");
    EXPECT_EQ(URL::fileURLWithPath(folder).path(), folder);
    EXPECT_EQ(URL::fileURLWithPath("/").path(), "/");
    EXPECT_TRUE(URL::fileURLWithPath("/nowhere/", false).hasDirectoryPath());
    EXPECT_EQ(URL::fileURLWithPath("a.png").path(), (fs::current_path() / "a.png").string());
}

TEST(Bundle, ResourcesAreBesideTheModuleThenInShareThenTheModulesFolder) {
    EXPECT_EQ(Bundle::main().executablePath(), fs::read_symlink("/proc/self/exe").string());
    const TemporaryFolder folder;
    const Bundle bundle(folder / "bin/tool.so");
    for (const auto* place : {"bin", "share/tool", "bin/Resources"}) {
        folder.folder(place);
        EXPECT_EQ(fs::path(bundle.resourceURL()->path()), folder / place);
    }
    fs::remove_all(folder.path());
    EXPECT_FALSE(bundle.resourceURL());
    EXPECT_FALSE(Bundle("").resourceURL());
}

}  // namespace
