#include "dsp/ParameterAddress.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/product.h"
#include "tests/hosts/conformance/FormatTest.h"

namespace qov::test {
namespace {

using testing::FieldsAre;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

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
    std::vector<std::string> presets;
    for (const auto& preset : hosts::presetBank) presets.emplace_back(preset.name);
    // Twice: a host may scan again.
    for (int scan = 0; scan < 2; ++scan) {
        const auto description = format().describe();
        EXPECT_THAT(description,
                    FieldsAre(hosts::product::name, hosts::product::maker, hosts::product::version,
                              UnorderedElementsAreArray(presets), SizeIs(std::size(rows)), 2, 2));
        for (std::uint64_t address = 0; const auto& [name, initial, isSwitch] : rows) {
            EXPECT_THAT(
                description.parameters.at(address),
                FieldsAre(address, name, 0, 1, initial, isSwitch, address == kBypass, true));
            ++address;
        }
    }
}

QOV_EVERY_FORMAT(Description);

}  // namespace
}  // namespace qov::test
