#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The address of a file or of something on the network, as RFC 3986 writes it.
class URL {
 public:
    /// A URL from its text. Nothing for a text that is not a URL reference: empty, with characters
    /// that have to be percent-encoded (blanks, anything beyond ASCII), or with a malformed %
    /// sequence, host or port.
    static std::optional<URL> withString(std::string_view string);

    /// Any bytes but NUL make a path; a relative one starts at the current directory. The form
    /// without isDirectory asks the file system.
    static URL fileURLWithPath(std::string_view path);
    static URL fileURLWithPath(std::string_view path, bool isDirectory);

    const std::string& absoluteString() const { return string_; }
    /// As written; empty for a relative reference.
    const std::string& scheme() const { return scheme_; }
    bool isFileURL() const;
    /// Percent-decoded and without a slash at its end ("/" stays); empty if it holds a NUL.
    const std::string& path() const { return path_; }
    /// of path().
    std::string lastPathComponent() const;

    bool operator==(const URL& other) const { return string_ == other.string_; }

 private:
    URL() = default;

    std::string string_, scheme_, path_;
};

}  // namespace platform
