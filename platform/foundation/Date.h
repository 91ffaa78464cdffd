#pragma once

#include <string>

namespace platform {

/// An instant, in seconds and parts of them before or after the beginning of 2001 (UTC), leap
/// seconds not counted.
class Date {
 public:
    /// From the beginning of 1970 to that of 2001.
    static constexpr double timeIntervalBetween1970AndReferenceDate = 978307200.0;

    /// Now.
    Date();
    static Date withTimeIntervalSinceReferenceDate(double seconds) { return Date(seconds); }
    static Date withTimeIntervalSince1970(double seconds) {
        return Date(seconds - timeIntervalBetween1970AndReferenceDate);
    }

    double timeIntervalSince1970() const {
        return seconds_ + timeIntervalBetween1970AndReferenceDate;
    }

    /// "2026-01-05 15:04:05 +0000", whatever the time zone.
    std::string description() const;

    bool operator==(const Date&) const = default;
    bool operator<(const Date& other) const { return seconds_ < other.seconds_; }

 private:
    explicit Date(double secondsSinceReferenceDate) : seconds_(secondsSinceReferenceDate) {}

    double seconds_;
};

}  // namespace platform
