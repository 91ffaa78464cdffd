// Text forms of dates, sizes, numbers, errors and paths.

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/DateFormatter.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/Number.h"
#include "platform/foundation/path.h"

namespace {

using namespace platform;
using enum DateFormatter::Style;

// Instants and wall clocks from Python's datetime and zoneinfo; the POSIX zones by hand.
TEST(DateFormatter, UsesTheZoneOfTheProcessAndItsOwnLocale) {
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    const DateFormatter formatter(medium, medium, "en_US");
    struct Case {
        const char* zone;
        double seconds;  // since 1970
        const char* text;
    };
    for (const auto& [zone, seconds, text] :
         {Case{"America/New_York", 1767625445, "Jan 5, 2026 at 10:04:05 AM"},
          Case{"America/New_York", 1783263845, "Jul 5, 2026 at 11:04:05 AM"},
          // One second before and at the change to summer time.
          Case{"Europe/Berlin", 1774745999, "Mar 29, 2026 at 1:59:59 AM"},
          Case{":Europe/Berlin", 1774746000, "Mar 29, 2026 at 3:00:00 AM"},
          Case{"Asia/Kathmandu", 1767625445, "Jan 5, 2026 at 8:49:05 PM"},
          Case{"HERE-3:30", 1767625445, "Jan 5, 2026 at 6:34:05 PM"},
          Case{"<-11>11", 1767625445, "Jan 5, 2026 at 4:04:05 AM"},
          Case{"UTC", 0, "Jan 1, 1970 at 12:00:00 AM"},
          Case{"UTC", -0.25, "Dec 31, 1969 at 11:59:59 PM"},
          Case{"UTC", 2147483648, "Jan 19, 2038 at 3:14:08 AM"},
          Case{"UTC", -2203848000, "Mar 1, 1900 at 12:00:00 PM"}}) {
        setenv("TZ", zone, 1);
        tzset();
        EXPECT_EQ(formatter.string(Date::withTimeIntervalSince1970(seconds)), text) << zone;
    }
    const auto date = Date::withTimeIntervalSince1970(1767625445);
    EXPECT_EQ(DateFormatter(medium, none, "en_US").string(date), "Jan 5, 2026");
    EXPECT_EQ(DateFormatter(none, medium, "en_US").string(date), "3:04:05 PM");
    EXPECT_EQ(DateFormatter(brief, brief, "en_US").string(date), "1/5/26, 3:04 PM");
    EXPECT_EQ(DateFormatter(medium, medium, "de_DE").string(date), "05.01.2026, 15:04:05");
    EXPECT_EQ(date.description(), "2026-01-05 15:04:05 +0000");
}

// Divided and rounded half to even by hand.
TEST(ByteCountFormatter, RoundsAsAFileManagerShowsSizes) {
    using Case = std::pair<std::int64_t, const char*>;
    for (const auto& [bytes, text] : {Case{0, "Zero KB"},
                                      Case{1, "1 byte"},
                                      Case{999, "999 bytes"},
                                      Case{1000, "1 KB"},
                                      Case{1499, "1 KB"},
                                      Case{1500, "2 KB"},
                                      Case{2500, "2 KB"},
                                      Case{999'499, "999 KB"},
                                      Case{999'500, "1 MB"},
                                      Case{1'234'567, "1.2 MB"},
                                      Case{1'250'000, "1.2 MB"},
                                      Case{999'949'999, "999.9 MB"},
                                      Case{999'950'000, "1 GB"},
                                      Case{1'500'000'000, "1.5 GB"},
                                      Case{1'234'567'890, "1.23 GB"},
                                      Case{999'994'999'999, "999.99 GB"},
                                      Case{999'995'000'000, "1 TB"},
                                      Case{7'005'000'000'000'000, "7 PB"},
                                      Case{-1, "-1 byte"},
                                      Case{std::numeric_limits<std::int64_t>::max(), "9,223.37 PB"},
                                      Case{-1'234'567, "-1.2 MB"}})
        EXPECT_EQ(ByteCountFormatter::stringFromByteCount(bytes), text) << bytes;
}

TEST(Number, KeepsItsKindAndSaturates) {
    constexpr auto largest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(Number(largest).stringValue(), "18446744073709551615");
    EXPECT_EQ(Number(-1).stringValue() + Number(true).stringValue(), "-11");
    EXPECT_EQ(Number(0.1).stringValue(), "0.1");
    EXPECT_NE(Number(largest), Number(-1));
    EXPECT_EQ(Number(std::uint64_t{7}), Number(7.0));
    EXPECT_EQ(Number(1e300).int64Value(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Number(-1e300).int64Value(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Number(-3.9).int64Value(), -3);
    EXPECT_EQ(Number(std::numeric_limits<double>::quiet_NaN()).int64Value(), 0);
}

TEST(NSError, DescribesItselfByTextOrCode) {
    const NSError plain(NSOSStatusErrorDomain, -10875), described("D", 13, "Denied");
    EXPECT_EQ(plain.localizedDescription(),
              "The operation couldn’t be completed. (OSStatus error -10875.)");
    EXPECT_EQ(plain.description(), "Error Domain=NSOSStatusErrorDomain Code=-10875 \"(null)\"");
    EXPECT_EQ(described.localizedDescription(), "Denied");
    EXPECT_EQ(described.description(), "Error Domain=D Code=13 \"Denied\"");
    EXPECT_EQ(NSError("D", 7).localizedDescription(),
              "The operation couldn’t be completed. (D error 7.)");
    EXPECT_FALSE(NSError());
}

// The examples of the platform's documentation and the corners between them: last component, the
// path without it, extension, number of components.
TEST(Path, IsTakenApartAsDocumented) {
    using Case = std::pair<std::string, std::string>;
    for (const auto& [path, parts] :
         {Case{"", "|||0"}, Case{"/", "/|/||1"}, Case{"//", "/|/||1"}, Case{"a", "a|||1"},
          Case{"/tmp", "tmp|/||2"}, Case{"/tmp/lock/", "lock|/tmp||4"},
          Case{"/tmp/scratch.tiff", "scratch.tiff|/tmp|tiff|3"}, Case{"scratch///", "scratch|||2"},
          Case{"a//b", "b|a||2"}, Case{".scratch.tiff", ".scratch.tiff||tiff|1"},
          Case{"a/.profile", ".profile|a||2"}, Case{"a.", "a.|||1"},
          Case{"scratch..tiff", "scratch..tiff||tiff|1"}, Case{"a.d/b", "b|a.d||2"},
          Case{"x/\xff\n'<.b", "\xff\n'<.b|x|b|2"}})
        EXPECT_EQ(path::lastPathComponent(path) + "|" + path::deletingLastPathComponent(path) +
                      "|" + path::pathExtension(path) + "|" +
                      std::to_string(path::pathComponentCount(path)),
                  parts);
}

}  // namespace
