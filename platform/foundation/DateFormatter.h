#pragma once

#include <string>

namespace platform {

class Date;

/// Writes dates for people.
namespace DateFormatter {

/// "Jan 5, 2026 at 3:04:05 PM": medium date and time style in US English, in the process's time
/// zone, which is the C library's (TZ, or the machine's), summer time as it was at that instant. A
/// program that changes TZ while it runs calls tzset(). The process's locale has no effect. Any
/// thread.
std::string localizedString(const Date& date);

}  // namespace DateFormatter
}  // namespace platform
