#include <algorithm>

#include "tests/hosts/conformance/Plugin.h"

namespace qov::test {
namespace {

std::vector<std::unique_ptr<Format>>& formats() {
    static std::vector<std::unique_ptr<Format>> list;
    return list;
}

}  // namespace

const std::vector<std::unique_ptr<Format>>& Format::all() {
    return formats();
}

void Format::add(std::unique_ptr<Format> format) {
    auto& list = formats();
    const auto place = std::ranges::upper_bound(list, format->name(), {},
                                                [](const auto& other) { return other->name(); });
    list.insert(place, std::move(format));
}

}  // namespace qov::test
