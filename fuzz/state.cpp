// Any bytes as a project's state: refused with nothing changed, or taken up with every value in
// range, and then what is saved comes back as it is.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "editor/AudioUnitViewController.h"
#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "hosts/instance/Instance.h"

namespace {

using namespace qov;

std::unique_ptr<hosts::Instance> create() {
    return hosts::Instance::create(nullptr, {}, std::make_shared<AudioUnitViewController>());
}

using Values = std::array<float, 8>;

Values valuesOf(const hosts::Instance& instance) {
    Values values{};
    for (std::uint64_t address = 0; address < values.size(); ++address)
        values[address] = instance.value(address);
    return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto instance = create();
    instance->setValue(0, 0.3F);
    instance->setValue(4, 1);
    const auto before = valuesOf(*instance);
    const auto saved = instance->saveState();
    if (!instance->restoreState(text)) {
        require(valuesOf(*instance) == before && instance->saveState() == saved,
                "a refused state has changed something");
        return 0;
    }
    for (const float value : valuesOf(*instance))
        require(value >= 0 && value <= 1, "a value is out of range");
    const auto again = instance->saveState();
    const auto other = create();
    require(other->restoreState(again), "what was saved is refused");
    require(valuesOf(*other) == valuesOf(*instance) && other->saveState() == again,
            "what was saved comes back changed");
    return 0;
}
