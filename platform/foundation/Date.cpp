#include "platform/foundation/Date.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace platform {

Date::Date() : Date(0) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    // Subtracted while whole, so that a double keeps the nanoseconds as well as it can.
    seconds_ = static_cast<double>(now.tv_sec) - timeIntervalBetween1970AndReferenceDate +
               static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string Date::description() const {
    const auto seconds = static_cast<time_t>(std::floor(timeIntervalSince1970()));
    tm fields{};
    if (!gmtime_r(&seconds, &fields)) return "(date out of range)";
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d +0000", fields.tm_year + 1900,
                  fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    return text;
}

}  // namespace platform
