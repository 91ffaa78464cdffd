#pragma once

#include <string>
#include <string_view>

namespace platform {

inline constexpr std::string_view NSCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr std::string_view NSOSStatusErrorDomain = "NSOSStatusErrorDomain";
inline constexpr std::string_view NSURLErrorDomain = "NSURLErrorDomain";

/// Codes of NSCocoaErrorDomain for files.
enum NSFileError : int {
    NSFileNoSuchFileError = 4,
    NSFileReadUnknownError = 256,
    NSFileReadNoPermissionError = 257,
    NSFileReadNoSuchFileError = 260,
    NSFileReadTooLargeError = 263,
    NSFileWriteUnknownError = 512,
    NSFileWriteNoPermissionError = 513,
    NSFileWriteFileExistsError = 516,
    NSFileWriteOutOfSpaceError = 640,
    NSFileWriteVolumeReadOnlyError = 642,
};

/// What went wrong: a domain, a code within it, and a text for people.
/// An out-parameter is an `NSError* error` that may be null: set on failure, untouched otherwise.
class NSError {
 public:
    /// No error.
    NSError() = default;
    /// Without a description, localizedDescription() is made from domain and code.
    NSError(std::string_view domain, long code, std::string localizedDescription = {});

    const std::string& domain() const { return domain_; }
    long code() const { return code_; }
    /// One sentence for a person.
    std::string localizedDescription() const;
    /// One line for a log: domain, code and the description in quotation marks.
    std::string description() const;

    /// True if there is an error.
    explicit operator bool() const { return !domain_.empty(); }
    bool operator==(const NSError&) const = default;

 private:
    std::string domain_;
    long code_ = 0;
    std::string description_;
};

}  // namespace platform
