#include "platform/foundation/path.h"

namespace platform::path {
namespace {

constexpr char separator = '/';

std::string_view withoutTrailingSeparators(std::string_view path) {
    while (path.size() > 1 && path.back() == separator) path.remove_suffix(1);
    return path;
}

/// The last component as a part of the path given.
std::string_view lastComponent(std::string_view path) {
    path = withoutTrailingSeparators(path);
    const auto slash = path.rfind(separator);
    return slash == path.npos || path.size() == 1 ? path : path.substr(slash + 1);
}

}  // namespace

std::string lastPathComponent(std::string_view path) {
    return std::string(lastComponent(path));
}

std::string deletingLastPathComponent(std::string_view path) {
    path = withoutTrailingSeparators(path);
    const auto slash = path.rfind(separator);
    if (slash == path.npos) return {};
    return std::string(withoutTrailingSeparators(path.substr(0, slash == 0 ? 1 : slash)));
}

std::string pathExtension(std::string_view path) {
    const auto name = lastComponent(path);
    const auto dot = name.rfind('.');
    return dot == name.npos || dot == 0 ? std::string() : std::string(name.substr(dot + 1));
}

long pathComponentCount(std::string_view path) {
    long names = 0;
    for (std::size_t at = 0; at < path.size(); ++at)
        names += path[at] != separator && (at == 0 || path[at - 1] == separator);
    const bool leading = path.starts_with(separator);
    const bool trailing = names > 0 && path.ends_with(separator);
    return names + leading + trailing;
}

}  // namespace platform::path
