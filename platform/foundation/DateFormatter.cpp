#include "platform/foundation/DateFormatter.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include "platform/foundation/Date.h"
#include "platform/foundation/fatalError.h"

namespace platform {
namespace {

icu::DateFormat::EStyle styleOf(DateFormatter::Style style) {
    switch (style) {
        case DateFormatter::Style::brief:
            return icu::DateFormat::kShort;
        case DateFormatter::Style::medium:
            return icu::DateFormat::kMedium;
        default:
            return icu::DateFormat::kNone;
    }
}

/// Local wall-clock time, as the milliseconds of the UTC instant whose clock shows the same.
double localMilliseconds(const Date& date) {
    const double seconds = std::floor(date.timeIntervalSince1970());
    // Beyond this no clock is set; the bound keeps the conversion defined.
    const auto whole = static_cast<time_t>(std::clamp(seconds, -1e15, 1e15));
    tm fields{};
    const bool known = localtime_r(&whole, &fields) != nullptr;
    return (seconds + (known ? static_cast<double>(fields.tm_gmtoff) : 0.0)) * 1000.0;
}

std::unique_ptr<icu::DateFormat> zoneless(icu::DateFormat* format) {
    std::unique_ptr<icu::DateFormat> owned(format);
    if (!owned) fatalError("No date format: the locale data of ICU are missing.");
    owned->adoptTimeZone(icu::TimeZone::getGMT()->clone());
    return owned;
}

}  // namespace

/// English has a text for each half, joined here; other languages order and join them as they do.
struct DateFormatter::Formats {
    std::unique_ptr<icu::DateFormat> date;
    std::unique_ptr<icu::DateFormat> time;
    const char* glue = "";
};

DateFormatter::DateFormatter(Style dateStyle, Style timeStyle, std::string_view locale) {
    const icu::Locale named(std::string(locale).c_str());
    const bool english = std::string_view(named.getLanguage()) == "en";
    auto formats = std::make_unique<Formats>();
    const bool wantsDate = dateStyle != Style::none;
    const bool wantsTime = timeStyle != Style::none;
    if (wantsDate && wantsTime && !english) {
        formats->date = zoneless(
            icu::DateFormat::createDateTimeInstance(styleOf(dateStyle), styleOf(timeStyle), named));
    } else {
        if (wantsDate)
            formats->date =
                zoneless(icu::DateFormat::createDateInstance(styleOf(dateStyle), named));
        if (wantsTime)
            formats->time =
                zoneless(icu::DateFormat::createTimeInstance(styleOf(timeStyle), named));
        if (wantsDate && wantsTime) formats->glue = dateStyle == Style::brief ? ", " : " at ";
    }
    formats_ = std::move(formats);
}

DateFormatter::~DateFormatter() = default;
DateFormatter::DateFormatter(DateFormatter&&) noexcept = default;
DateFormatter& DateFormatter::operator=(DateFormatter&&) noexcept = default;

std::string DateFormatter::string(const Date& date) const {
    const double milliseconds = localMilliseconds(date);
    icu::UnicodeString text;
    if (formats_->date) formats_->date->format(milliseconds, text);
    text.append(formats_->glue);
    if (formats_->time) formats_->time->format(milliseconds, text);
    constexpr char16_t narrowNoBreakSpace = 0x202F;
    text.findAndReplace(icu::UnicodeString(narrowNoBreakSpace), icu::UnicodeString(u' '));
    std::string utf8;
    return text.toUTF8String(utf8);
}

}  // namespace platform
