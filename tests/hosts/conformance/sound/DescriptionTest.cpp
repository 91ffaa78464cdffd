#include <gmock/gmock.h>

#include "hosts/instance/presetBank.h"
#include "hosts/instance/product.h"
#include "tests/hosts/conformance/FormatTest.h"

namespace qov::test {
namespace {

class Description : public FormatTest {};

TEST_P(Description, HasTheNamesRangesAndDefaultsOfTheParameters) {
    if (!format().describe) GTEST_SKIP() << "it is no binary";
    struct Row {
        const char* name;
        float initial;
        bool isSwitch;
    };
    const Row rows[] = {{"Stereo Width", 0.5F, false}, {"Panorama", 0.5F, false},
                        {"Phase Shift", 0, false},     {"Swap Channels", 0, true},
                        {"Invert Channel", 0, true},   {"Recover Mono", 0, true},
                        {"Test Mono", 0, true},        {"Bypass", 0, true}};
    // Twice: a host may scan again.
    for (int scan = 0; scan < 2; ++scan) {
        const auto description = format().describe();
        EXPECT_EQ(description.name, hosts::product::name);
        EXPECT_EQ(description.maker, hosts::product::maker);
        EXPECT_EQ(description.version, hosts::product::version);
        EXPECT_EQ(description.inputs, 2);
        EXPECT_EQ(description.outputs, 2);
        ASSERT_EQ(description.parameters.size(), std::size(rows));
        for (std::size_t address = 0; address < std::size(rows); ++address) {
            const auto& parameter = description.parameters[address];
            SCOPED_TRACE(rows[address].name);
            EXPECT_EQ(parameter.address, address);
            EXPECT_EQ(parameter.name, rows[address].name);
            EXPECT_EQ(parameter.minimum, 0);
            EXPECT_EQ(parameter.maximum, 1);
            EXPECT_EQ(parameter.initial, rows[address].initial);
            EXPECT_EQ(parameter.isSwitch, rows[address].isSwitch);
            EXPECT_EQ(parameter.isBypass, address == 7);
            EXPECT_TRUE(parameter.isAutomatable);
        }
        std::vector<std::string> presets;
        for (const auto& preset : hosts::presetBank) presets.emplace_back(preset.name);
        EXPECT_THAT(description.presets, testing::UnorderedElementsAreArray(presets));
    }
}

QOV_EVERY_FORMAT(Description);

}  // namespace
}  // namespace qov::test
