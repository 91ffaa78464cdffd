#include "platform/foundation/DateFormatter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "platform/foundation/Date.h"

namespace platform {

std::string DateFormatter::localizedString(const Date& date) {
    constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    // Beyond this no clock is set; the bound keeps the conversion defined.
    const auto seconds =
        static_cast<time_t>(std::clamp(std::floor(date.timeIntervalSince1970()), -1e15, 1e15));
    tm fields{};
    if (!localtime_r(&seconds, &fields)) return "(date out of range)";
    char text[96];
    std::snprintf(text, sizeof text, "%s %d, %d at %d:%02d:%02d %s", months[fields.tm_mon],
                  fields.tm_mday, fields.tm_year + 1900, (fields.tm_hour + 11) % 12 + 1,
                  fields.tm_min, fields.tm_sec, fields.tm_hour < 12 ? "AM" : "PM");
    return text;
}

}  // namespace platform
