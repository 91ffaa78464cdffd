#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/audiounit/RenderingUnit.h"
#include "tests/hosts/conformance/Plugin.h"

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
    /// The bare instance: all formats sound as it does.
    static std::unique_ptr<Plugin> createReference(double rate, std::uint32_t longest) {
        return createActive(rate, longest, "Instance");
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

/// A whole signal in blocks of one length, every other one in place; events count from its start.
inline Stereo processAll(Plugin& plugin, const Stereo& signal, std::uint32_t block,
                         const std::vector<platform::AURenderEvent>& events = {}) {
    Stereo output = signal;
    const auto frames = static_cast<std::uint32_t>(signal.left.size());
    for (std::uint32_t at = 0; at < frames; at += block) {
        const auto count = std::min(block, frames - at);
        const auto& input = at / block % 2 ? output : signal;
        plugin.process({input.left.data() + at, input.right.data() + at},
                       {output.left.data() + at, output.right.data() + at}, count,
                       eventsWithin(events, at, at + count));
    }
    return output;
}

/// The first difference of two signals, in any bit; empty for equal ones.
inline std::string difference(const Stereo& one, const Stereo& other) {
    for (const auto channel : {&Stereo::left, &Stereo::right}) {
        const auto& a = one.*channel;
        const auto& b = other.*channel;
        const auto bits = std::bit_cast<std::uint32_t, float>;
        const auto found = std::ranges::mismatch(a, b, {}, bits, bits);
        if (found.in1 != a.end() || found.in2 != b.end())
            return (channel == &Stereo::left ? "left frame " : "right frame ") +
                   std::to_string(found.in1 - a.begin()) + " of " + std::to_string(a.size());
    }
    return {};
}

}  // namespace qov::test
