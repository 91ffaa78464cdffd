#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/ConsoleLines.h"

namespace qov::test {

/// A test of every format; see QOV_EVERY_FORMAT.
class FormatTest : public testing::TestWithParam<std::string> {
 protected:
    static const Format& format() { return Format::all().at(GetParam()); }
    static Capabilities can() { return format().can; }
    static std::unique_ptr<Plugin> create() { return format().create(); }
    static std::unique_ptr<Plugin> createActive(double rate, std::uint32_t longest,
                                                const std::string& name = GetParam()) {
        auto plugin = Format::all().at(name).create();
        EXPECT_TRUE(plugin->activate(rate, longest));
        return plugin;
    }

 private:
    ConsoleLines quiet_;
};

/// The formats' names; test programs read them once all drivers have been added.
inline std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const auto& [name, format] : Format::all()) names.push_back(name);
    return names;
}

#define QOV_EVERY_FORMAT(Suite)                                                \
    INSTANTIATE_TEST_SUITE_P(Formats, Suite, testing::ValuesIn(formatNames()), \
                             [](const auto& name) { return name.param; })

}  // namespace qov::test
