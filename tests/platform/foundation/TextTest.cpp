// Text forms of dates, sizes, numbers, errors, paths and addresses.

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/DateFormatter.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/Number.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/path.h"

namespace {

using namespace platform;
using Case = std::pair<std::string, std::string>;

// Instants and wall clocks from Python's datetime and zoneinfo; the POSIX zones by hand.
TEST(DateFormatter, UsesTheZoneOfTheProcess) {
    for (const auto& [zone, seconds, text] :
         {std::tuple{"America/New_York", 1767625445.0, "Jan 5, 2026 at 10:04:05 AM"},
          {"America/New_York", 1783263845, "Jul 5, 2026 at 11:04:05 AM"},
          // One second before and at the change to summer time.
          {"Europe/Berlin", 1774745999, "Mar 29, 2026 at 1:59:59 AM"},
          {":Europe/Berlin", 1774746000, "Mar 29, 2026 at 3:00:00 AM"},
          {"HERE-3:30", 1767625445, "Jan 5, 2026 at 6:34:05 PM"},
          {"UTC", 0, "Jan 1, 1970 at 12:00:00 AM"},
          {"UTC", -0.25, "Dec 31, 1969 at 11:59:59 PM"},
          {"UTC", -2203848000, "Mar 1, 1900 at 12:00:00 PM"}}) {
        setenv("TZ", zone, 1);
        tzset();
        EXPECT_EQ(DateFormatter::localizedString(Date::withTimeIntervalSince1970(seconds)), text)
            << zone;
    }
    EXPECT_EQ(Date::withTimeIntervalSince1970(1767625445).description(),
              "2026-01-05 15:04:05 +0000");
}

// Divided and rounded half to even by hand.
TEST(ByteCountFormatter, RoundsAsAFileManagerShowsSizes) {
    const std::pair<std::int64_t, const char*> sizes[] = {{0, "Zero KB"},
                                                          {1, "1 byte"},
                                                          {1500, "2 KB"},
                                                          {2500, "2 KB"},
                                                          {999'499, "999 KB"},
                                                          {999'500, "1 MB"},
                                                          {-1'234'567, "-1.2 MB"},
                                                          {1'250'000, "1.2 MB"},
                                                          {1'250'001, "1.3 MB"},
                                                          {999'950'000, "1 GB"},
                                                          {1'234'567'890, "1.23 GB"},
                                                          {999'994'999'999, "999.99 GB"},
                                                          {7'005'000'000'000'000, "7 PB"},
                                                          {INT64_MAX, "9,223.37 PB"}};
    for (const auto& [bytes, text] : sizes)
        EXPECT_EQ(ByteCountFormatter::stringFromByteCount(bytes), text) << bytes;
}

TEST(Number, IsOneWhateverItWasMadeFrom) {
    EXPECT_EQ(Number(UINT64_MAX).stringValue(), "18446744073709551615");
    EXPECT_NE(Number(UINT64_MAX), Number(-1));
    EXPECT_EQ(Number(std::uint64_t{7}), Number(7));
    for (const auto& [real, whole] :
         {std::pair(1e300, INT64_MAX), {-HUGE_VAL, INT64_MIN}, {-3.9, -3}, {std::nan(""), 0}})
        EXPECT_EQ(Number(real), Number(whole));
}

TEST(NSError, DescribesItselfByTextOrCode) {
    const NSError plain(NSOSStatusErrorDomain, -10875), described("D", 13, "Denied");
    EXPECT_EQ(plain.localizedDescription(),
              "The operation couldn’t be completed. (OSStatus error -10875.)");
    EXPECT_EQ(plain.description(), "Error Domain=NSOSStatusErrorDomain Code=-10875 \"(null)\"");
    EXPECT_EQ(described.localizedDescription(), "Denied");
    EXPECT_EQ(described.description(), "Error Domain=D Code=13 \"Denied\"");
    EXPECT_FALSE(NSError());
}

// The examples of the platform's documentation and the corners between them: last component, the
// path without it, extension, number of components.
TEST(Path, IsTakenApartAsDocumented) {
    for (const auto& [path, parts] :
         {Case{"", "|||0"}, Case{"/", "/|/||1"}, Case{"//", "/|/||1"}, Case{"a", "a|||1"},
          Case{"/tmp", "tmp|/||2"}, Case{"/tmp/lock/", "lock|/tmp||4"},
          Case{"/tmp/scratch.tiff", "scratch.tiff|/tmp|tiff|3"}, Case{"scratch///", "scratch|||2"},
          Case{"a//b", "b|a||2"}, Case{".scratch.tiff", ".scratch.tiff||tiff|1"},
          Case{"a/.profile", ".profile|a||2"}, Case{"a.", "a.|||1"}, Case{"a.d/b", "b|a.d||2"}})
        EXPECT_EQ(path::lastPathComponent(path) + "|" + path::deletingLastPathComponent(path) +
                      "|" + path::pathExtension(path) + "|" +
                      std::to_string(path::pathComponentCount(path)),
                  parts);
}

// Scheme and path as RFC 3986 divides them.
TEST(URL, IsDividedIntoPartsOrRefused) {
    for (const auto& [text, parts] :
         {Case{"http://example.com", "http|"},
          Case{"HTTPS://u:p@example.com:8443/a/b.png?x=/1#/f", "HTTPS|/a/b.png"},
          Case{"http://[::1]:80/", "http|/"}, Case{"file:///tmp/a%20b/", "file|/tmp/a b"},
          Case{"FILE:/tmp/%C3%A9.png", "FILE|/tmp/é.png"}, Case{"images/a.png", "|images/a.png"},
          Case{"file:///a%00b", "file|"}, Case{"mailto:a@b", "mailto|a@b"}, Case{"#top", "|"}}) {
        const auto url = URL::withString(text);
        ASSERT_TRUE(url) << text;
        EXPECT_EQ(url->absoluteString(), text);
        EXPECT_EQ(url->scheme() + "|" + url->path(), parts);
    }
    for (const char c : std::string(" \n\"<>\\^`{|}\x80"))
        EXPECT_FALSE(URL::withString(std::string("http://a/") + c)) << c;
    for (const auto* text :
         {"", "http://a/%", "http://a/%2", "http://a/%zz", "http://a:port/", "http://a:70000/",
          "http://[::1/", "http://[xyz]/", "1http://a", "://a", "http://a/[b]", "http://a/#b#c"})
        EXPECT_FALSE(URL::withString(text)) << text;
}

TEST(FileURL, EncodesAnyNameAndGivesItBack) {
    std::string all = "/";
    for (int c = 1; c < 256; ++c)
        if (c != '/') all += static_cast<char>(c);
    const auto url = URL::fileURLWithPath(all, false);
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.path(), all);
    EXPECT_EQ(URL::withString(url.absoluteString()), url);
    EXPECT_EQ(URL::fileURLWithPath("/a b?#%é", false).absoluteString(),
              "file:///a%20b%3F%23%25%C3%A9");
    const auto folder = std::filesystem::temp_directory_path().string();
    EXPECT_EQ(URL::fileURLWithPath(folder).absoluteString(), "file://" + folder + "/");
    EXPECT_EQ(URL::fileURLWithPath("/").path(), "/");
    EXPECT_EQ(URL::fileURLWithPath("a.png").path(), std::filesystem::absolute("a.png").string());
}

}  // namespace
