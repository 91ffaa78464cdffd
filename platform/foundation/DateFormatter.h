#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace platform {

class Date;

/// Writes dates for people, in the language of a locale and in the process's time zone.
///
/// For English the text of medium styles reads "Jan 5, 2026 at 3:04:05 PM" in plain spaces: newer
/// locale data puts a narrow no-break space before AM and PM and a comma for "at", and what this
/// writes must not change with the version of that data.
///
/// The zone is the C library's (TZ, or the machine's), summer time as it was at that instant; a
/// program that changes TZ while it runs calls tzset(). The process's own locale has no effect.
/// One formatter may be used by several threads at once.
class DateFormatter {
 public:
    enum class Style { none, brief, medium };

    /// brief: "1/5/26", "3:04 PM". medium: "Jan 5, 2026", "3:04:05 PM". none leaves that half out.
    /// locale: an identifier such as "en_US".
    DateFormatter(Style dateStyle, Style timeStyle, std::string_view locale);
    ~DateFormatter();
    DateFormatter(DateFormatter&&) noexcept;
    DateFormatter& operator=(DateFormatter&&) noexcept;

    std::string string(const Date& date) const;

 private:
    struct Formats;
    std::unique_ptr<const Formats> formats_;
};

}  // namespace platform
