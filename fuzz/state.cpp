// Any bytes as a project's state: refused with nothing changed, or taken up with every value in
// range, and then what is saved comes back as it is.

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "editor/AudioUnitViewController.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "hosts/instance/Instance.h"

namespace {

std::unique_ptr<qov::hosts::Instance> create() {
    return qov::hosts::Instance::create(nullptr, {},
                                        std::make_shared<qov::AudioUnitViewController>());
}

std::array<float, 8> valuesOf(const qov::hosts::Instance& instance) {
    std::array<float, 8> values{};
    for (std::uint64_t address = 0; address < values.size(); ++address)
        values[address] = instance.value(address);
    return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto instance = create(), other = create();
    instance->setValue(0, 0.3F);
    instance->setValue(4, 1);
    const auto before = valuesOf(*instance);
    const auto saved = instance->saveState();
    if (!instance->restoreState({reinterpret_cast<const char*>(data), size})) {
        require(valuesOf(*instance) == before && instance->saveState() == saved,
                "a refused state has changed something");
        return 0;
    }
    const auto values = valuesOf(*instance);
    require(std::ranges::all_of(values, [](float v) { return v >= 0 && v <= 1; }),
            "a value is out of range");
    const auto again = instance->saveState();
    require(other->restoreState(again), "what was saved is refused");
    require(valuesOf(*other) == values && other->saveState() == again,
            "what was saved comes back changed");
    return 0;
}
