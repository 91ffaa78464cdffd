#include "hosts/vst3/description.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "audiounit/parameters.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/product.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/identity.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

// Parameters

std::optional<std::int32_t> stepsOf(v3_param_id id) {
    if (id == programId) return static_cast<std::int32_t>(presetBank.size()) - 1;
    const auto* const parameter = parameterAt(id);
    if (!parameter) return std::nullopt;
    return parameter->isSwitch() ? 1 : 0;
}

std::size_t programOf(double value) {
    if (std::isnan(value)) return 0;
    constexpr auto count = static_cast<double>(presetBank.size());
    return static_cast<std::size_t>(std::clamp(value * count, 0.0, count - 1));
}

double valueOfProgram(double program) {
    return std::clamp(program / *stepsOf(programId), 0.0, 1.0);
}

/// The audio unit's parameters, then the volume and the program.
v3_result getParameterInfo(std::int32_t index, v3_param_info* info) {
    if (!info || index < 0 || index >= std::int32_t{parameterCount + 2}) return V3_INVALID_ARG;
    const auto fill = [&](std::uint64_t id, std::string_view title, double initial, int flags) {
        *info = {};
        info->param_id = static_cast<v3_param_id>(id);
        writeText(title, info->title);
        writeText(title, info->short_title);
        info->step_count = *stepsOf(info->param_id);
        info->default_normalised_value = initial;
        info->flags = flags;
        return V3_OK;
    };
    if (index > std::int32_t{parameterCount})
        return fill(programId, "Program", 0, V3_PARAM_IS_LIST | V3_PARAM_PROGRAM_CHANGE);
    const auto& parameter = allParameters[static_cast<std::size_t>(index)];
    const int flags = parameter.address == volumeId  ? V3_PARAM_IS_HIDDEN
                      : parameter.address == kBypass ? V3_PARAM_CAN_AUTOMATE | V3_PARAM_IS_BYPASS
                                                     : V3_PARAM_CAN_AUTOMATE;
    return fill(parameter.address, parameter.name, double{parameter.initial}, flags);
}

double plainOfNormalised(v3_param_id id, double value) {
    if (id == programId) return static_cast<double>(programOf(value));
    return stepsOf(id) == 1 ? (value > 0.5 ? 1 : 0) : value;
}

double normalisedOfPlain(v3_param_id id, double plain) {
    return id == programId ? valueOfProgram(plain) : plain;
}

// Programs and controllers

namespace {

constexpr std::int32_t rootUnit = 0;
constexpr std::int32_t noParent = -1;
constexpr std::int32_t presetList = 1;

v3_result getUnitInfo(std::int32_t index, v3_unit_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    *info = {.id = rootUnit, .parent_unit_id = noParent, .name = {}, .program_list_id = presetList};
    writeText(product::name, info->name);
    return V3_OK;
}

v3_result getProgramListInfo(std::int32_t index, v3_program_list_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    *info = {.id = presetList, .name = {}, .programCount = std::int32_t{presetBank.size()}};
    writeText("Factory presets", info->name);
    return V3_OK;
}

v3_result getProgramName(std::int32_t list, std::int32_t program, std::int16_t* name) {
    const auto index = static_cast<std::size_t>(program);
    if (!name || list != presetList || index >= presetBank.size()) return V3_INVALID_ARG;
    writeText(presetBank[index].name, name, textSize);
    return V3_OK;
}

v3_result selectUnit(std::int32_t unit) {
    return unit == rootUnit ? V3_OK : V3_INVALID_ARG;
}

v3_result getUnitByBus(std::int32_t, std::int32_t, std::int32_t bus, std::int32_t,
                       std::int32_t* unit) {
    if (!unit || bus != 0) return V3_INVALID_ARG;
    *unit = rootUnit;
    return V3_OK;
}

v3_result getControllerAssignment(std::int32_t bus, std::int16_t, std::int16_t controller,
                                  v3_param_id* id) {
    if (!id || bus != 0) return V3_INVALID_ARG;
    const auto address = parameterOfController(static_cast<std::uint16_t>(controller));
    if (!address) return V3_FALSE;
    *id = static_cast<v3_param_id>(*address);
    return V3_OK;
}

}  // namespace

constexpr v3_unit_information_cpp unitTable{
    unknownEntries,
    {returns<1>, entry<&getUnitInfo>, returns<1>, entry<&getProgramListInfo>,
     entry<&getProgramName>, returns<V3_NOT_IMPLEMENTED>, returns<V3_FALSE>,
     returns<V3_NOT_IMPLEMENTED>, returns<rootUnit>, entry<&selectUnit>, entry<&getUnitByBus>,
     returns<V3_NOT_IMPLEMENTED>}};

constexpr v3_midi_mapping_cpp midiMappingTable{unknownEntries, {entry<&getControllerAssignment>}};

}  // namespace qov::hosts::vst3
