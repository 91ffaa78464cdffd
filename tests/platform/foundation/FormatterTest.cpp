#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/DateFormatter.h"
#include "platform/foundation/Number.h"

namespace {

using platform::Date;
using platform::DateFormatter;
using platform::Number;
using enum DateFormatter::Style;

/// Another time zone, and a locale that is not English.
void goAbroad(const std::string& zone) {
    setenv("TZ", zone.c_str(), 1);
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    tzset();
}

struct DateCase {
    std::string zone;
    double seconds;  // since 1970
    std::string medium;
};

class MediumDate : public testing::TestWithParam<DateCase> {};

TEST_P(MediumDate, ReadsAsInEnglishInTheZoneOfTheProcess) {
    goAbroad(GetParam().zone);
    const DateFormatter formatter(medium, medium, "en_US");
    EXPECT_EQ(formatter.string(Date::withTimeIntervalSince1970(GetParam().seconds)),
              GetParam().medium);
}

// Instants and wall clocks from Python's datetime and zoneinfo; the POSIX zones by hand.
INSTANTIATE_TEST_SUITE_P(
    Zones, MediumDate,
    testing::Values(DateCase{"UTC", 1767625445, "Jan 5, 2026 at 3:04:05 PM"},
                    DateCase{"America/New_York", 1767625445, "Jan 5, 2026 at 10:04:05 AM"},
                    DateCase{"America/New_York", 1783263845, "Jul 5, 2026 at 11:04:05 AM"},
                    DateCase{"Europe/Berlin", 1783263845, "Jul 5, 2026 at 5:04:05 PM"},
                    // One second before and at the change to summer time.
                    DateCase{"Europe/Berlin", 1774745999, "Mar 29, 2026 at 1:59:59 AM"},
                    DateCase{"Europe/Berlin", 1774746000, "Mar 29, 2026 at 3:00:00 AM"},
                    DateCase{"Asia/Kathmandu", 1767625445, "Jan 5, 2026 at 8:49:05 PM"},
                    DateCase{"HERE-3:30", 1767625445, "Jan 5, 2026 at 6:34:05 PM"},
                    DateCase{"<-11>11", 1767625445, "Jan 5, 2026 at 4:04:05 AM"},
                    DateCase{":Europe/Berlin", 1767625445, "Jan 5, 2026 at 4:04:05 PM"},
                    DateCase{"UTC", 0, "Jan 1, 1970 at 12:00:00 AM"},
                    DateCase{"UTC", 43200, "Jan 1, 1970 at 12:00:00 PM"},
                    DateCase{"UTC", -0.25, "Dec 31, 1969 at 11:59:59 PM"},
                    DateCase{"UTC", 2147483648, "Jan 19, 2038 at 3:14:08 AM"},
                    DateCase{"UTC", -2203848000, "Mar 1, 1900 at 12:00:00 PM"}));

TEST(DateFormatter, LeavesOutTheHalfThatIsNotWantedAndSpeaksOtherLanguages) {
    goAbroad("UTC");
    const auto date = Date::withTimeIntervalSince1970(1767625445);
    EXPECT_EQ(DateFormatter(medium, none, "en_US").string(date), "Jan 5, 2026");
    EXPECT_EQ(DateFormatter(none, medium, "en_US").string(date), "3:04:05 PM");
    EXPECT_EQ(DateFormatter(brief, brief, "en_US").string(date), "1/5/26, 3:04 PM");
    EXPECT_EQ(DateFormatter(medium, medium, "de_DE").string(date), "05.01.2026, 15:04:05");
    EXPECT_EQ(date.description(), "2026-01-05 15:04:05 +0000");
}

using ByteCase = std::pair<std::int64_t, std::string>;
class ByteCount : public testing::TestWithParam<ByteCase> {};

TEST_P(ByteCount, ReadsAsAFileManagerShowsIt) {
    EXPECT_EQ(platform::ByteCountFormatter::stringFromByteCount(GetParam().first),
              GetParam().second);
}

// Divided and rounded half to even by hand.
INSTANTIATE_TEST_SUITE_P(
    Sizes, ByteCount,
    testing::Values(ByteCase{0, "Zero KB"}, ByteCase{1, "1 byte"}, ByteCase{2, "2 bytes"},
                    ByteCase{999, "999 bytes"}, ByteCase{1000, "1 KB"}, ByteCase{1499, "1 KB"},
                    ByteCase{1500, "2 KB"}, ByteCase{2500, "2 KB"}, ByteCase{12345, "12 KB"},
                    ByteCase{999'499, "999 KB"}, ByteCase{999'500, "1 MB"},
                    ByteCase{1'000'000, "1 MB"}, ByteCase{1'234'567, "1.2 MB"},
                    ByteCase{1'250'000, "1.2 MB"}, ByteCase{999'949'999, "999.9 MB"},
                    ByteCase{999'950'000, "1 GB"}, ByteCase{1'234'567'890, "1.23 GB"},
                    ByteCase{1'500'000'000, "1.5 GB"}, ByteCase{999'994'999'999, "999.99 GB"},
                    ByteCase{999'995'000'000, "1 TB"}, ByteCase{2'340'000'000'000, "2.34 TB"},
                    ByteCase{7'005'000'000'000'000, "7 PB"},
                    ByteCase{std::numeric_limits<std::int64_t>::max(), "9,223.37 PB"},
                    ByteCase{-1, "-1 byte"}, ByteCase{-1'234'567, "-1.2 MB"}));

TEST(Number, KeepsItsKindAndConvertsWithoutSurprises) {
    constexpr auto largest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(Number(largest).stringValue(), "18446744073709551615");
    EXPECT_EQ(Number(-1).stringValue(), "-1");
    EXPECT_EQ(Number(true).stringValue(), "1");
    EXPECT_EQ(Number(0.1).stringValue(), "0.1");
    EXPECT_NE(Number(largest), Number(-1));
    EXPECT_EQ(Number(std::uint64_t{7}), Number(7.0));
    EXPECT_EQ(Number(1e300).int64Value(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Number(-1e300).int64Value(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Number(-3.9).int64Value(), -3);
    EXPECT_EQ(Number(std::numeric_limits<double>::quiet_NaN()).int64Value(), 0);
}

}  // namespace
