#include "platform/foundation/URL.h"

#include <glib.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>

#include "platform/foundation/path.h"

namespace platform {
namespace {

struct Free {
    void operator()(char* text) const { g_free(text); }
};
using GString = std::unique_ptr<char, Free>;

bool isHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

/// Only what RFC 3986 allows somewhere in a reference, and whole percent sequences.
bool hasOnlyLegalCharacters(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '%') {
            if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) {
                return false;
            }
        } else if (!g_ascii_isalnum(c) &&
                   std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) == std::string_view::npos) {
            return false;
        }
    }
    return true;
}

/// Delimiters that may stand in an authority or before a part, but not inside one.
bool hasDelimiter(const char* part) {
    return part && std::string_view(part).find_first_of("#[]") != std::string_view::npos;
}

std::string decoded(const char* encoded) {
    const GString text(g_uri_unescape_string(encoded, nullptr));
    std::string path = text ? text.get() : "";
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

std::optional<URL> URL::withString(std::string_view string) {
    if (string.empty() || !hasOnlyLegalCharacters(string)) return {};
    URL url;
    url.string_ = string;

    char* parts[6] = {};  // scheme, user information, host, path, query, fragment
    int port = -1;
    const bool split = g_uri_split(url.string_.c_str(), G_URI_FLAGS_ENCODED, &parts[0], &parts[1],
                                   &parts[2], &port, &parts[3], &parts[4], &parts[5], nullptr);
    const GString scheme(parts[0]), user(parts[1]), host(parts[2]), path(parts[3]), query(parts[4]),
        fragment(parts[5]);
    if (!split || hasDelimiter(user.get()) || hasDelimiter(path.get()) ||
        hasDelimiter(query.get()) || hasDelimiter(fragment.get())) {
        return {};
    }
    const std::string_view written = path ? path.get() : "";
    const auto firstSegment = written.substr(0, written.find('/'));
    // "1http://host" or "://host": the part before the colon is not a scheme.
    if (!scheme && firstSegment.find(':') != std::string_view::npos) return {};

    if (scheme) url.scheme_ = string.substr(0, string.find(':'));
    if (path) url.path_ = decoded(path.get());
    return url;
}

URL URL::fileURLWithPath(std::string_view path) {
    std::error_code ignored;
    return fileURLWithPath(path,
                           std::filesystem::is_directory(std::filesystem::path(path), ignored));
}

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
    std::string absolute(path.substr(0, path.find('\0')));
    if (!absolute.starts_with('/')) {
        std::error_code ignored;
        auto folder = std::filesystem::current_path(ignored).string();
        if (!folder.ends_with('/')) folder += '/';
        absolute.insert(0, folder);
    }
    if (isDirectory && !absolute.ends_with('/')) absolute += '/';

    const GString encoded(g_uri_escape_string(absolute.c_str(), "!$&'()*+,=:@/", FALSE));
    URL url;
    url.string_ = std::string("file://") + encoded.get();
    url.scheme_ = "file";
    url.path_ = decoded(encoded.get());
    return url;
}

bool URL::isFileURL() const {
    return g_ascii_strcasecmp(scheme_.c_str(), "file") == 0;
}

std::string URL::lastPathComponent() const {
    return path::lastPathComponent(path_);
}

}  // namespace platform
