#include "hosts/vst3/Parameters.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "audiounit/parameters.h"
#include "hosts/instance/Instance.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

namespace {

v3_param_info makeInfo(v3_param_id id, std::string_view title, double initial, std::int32_t steps,
                       std::int32_t flags) {
    v3_param_info info{};
    info.param_id = id;
    writeText(title, info.title);
    writeText(title, info.short_title);
    info.step_count = steps;
    info.default_normalised_value = initial;
    info.flags = flags;
    return info;
}

}  // namespace

Parameters::Parameters(Instance& instance)
    : instance_(instance), programs_(instance.factoryPresetNames()) {}

std::int32_t Parameters::count() const {
    return parameterCount + 2;
}

bool Parameters::describe(std::int32_t index, v3_param_info& info) const {
    if (index < 0 || index >= count()) return false;
    if (index == parameterCount) {
        const auto& volume = allParameters.back();
        info = makeInfo(volumeId, volume.name, double{volume.initial}, 0, V3_PARAM_IS_HIDDEN);
    } else if (index == parameterCount + 1) {
        info = makeInfo(programId, "Program", 0, *steps(programId),
                        V3_PARAM_IS_LIST | V3_PARAM_PROGRAM_CHANGE);
    } else {
        const auto& parameter = hostParameters[static_cast<std::size_t>(index)];
        const auto id = static_cast<v3_param_id>(parameter.address);
        info = makeInfo(id, parameter.name, double{parameter.initial}, *steps(id),
                        V3_PARAM_CAN_AUTOMATE | (id == kBypass ? V3_PARAM_IS_BYPASS : 0));
    }
    return true;
}

std::optional<std::int32_t> Parameters::steps(v3_param_id id) const {
    if (id == programId) return static_cast<std::int32_t>(programs_.size()) - 1;
    const auto* const parameter = parameterAt(id);
    if (!parameter) return std::nullopt;
    return parameter->isSwitch() ? 1 : 0;
}

std::optional<std::string> Parameters::text(v3_param_id id, double value) const {
    if (!steps(id) || std::isnan(value)) return std::nullopt;
    value = std::clamp(value, 0.0, 1.0);
    if (id == programId) return programs_[programOf(value)];
    return instance_.valueText(id, static_cast<float>(value));
}

std::optional<double> Parameters::parse(v3_param_id id, const std::string& text) const {
    if (id == programId) {
        const auto found = std::ranges::find(programs_, text);
        if (found == programs_.end()) return std::nullopt;
        return static_cast<double>(found - programs_.begin()) / *steps(programId);
    }
    const auto value = instance_.parseValue(id, text);
    return value ? std::optional(double{*value}) : std::nullopt;
}

std::size_t Parameters::programOf(double value) const {
    if (std::isnan(value)) return 0;
    const auto count = static_cast<double>(programs_.size());
    return static_cast<std::size_t>(std::clamp(value * count, 0.0, count - 1));
}

}  // namespace qov::hosts::vst3
