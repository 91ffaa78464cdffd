#include "platform/foundation/path.h"

#include <algorithm>

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

template <class Visit>
void forEachComponent(std::string_view path, Visit visit) {
    if (path.empty()) return;
    const bool leading = path.front() == separator;
    const bool trailing = path.back() == separator;
    if (leading) visit(path.substr(0, 1));
    bool any = false;
    for (std::size_t at = 0; at < path.size();) {
        const auto end = std::min(path.find(separator, at), path.size());
        if (end > at) {
            visit(path.substr(at, end - at));
            any = true;
        }
        at = end + 1;
    }
    if (trailing && any) visit(path.substr(path.size() - 1));
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

std::vector<std::string> pathComponents(std::string_view path) {
    std::vector<std::string> components;
    forEachComponent(path, [&](std::string_view part) { components.emplace_back(part); });
    return components;
}

long pathComponentCount(std::string_view path) {
    long count = 0;
    forEachComponent(path, [&](std::string_view) { ++count; });
    return count;
}

}  // namespace platform::path
