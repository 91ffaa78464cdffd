#include "hosts/vst3/Units.h"

#include "hosts/instance/product.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

namespace {

constexpr std::int32_t kRoot = 0;
constexpr std::int32_t kNone = -1;
constexpr std::int32_t kList = 1;
constexpr std::size_t kTextSize = 128;

}  // namespace

constexpr v3_unit_information_cpp Units::table{
    unknownEntries,
    {entry<&Units::getUnitCount>, entry<&Units::getUnitInfo>, entry<&Units::getProgramListCount>,
     entry<&Units::getProgramListInfo>, entry<&Units::getProgramName>,
     entry<&Units::getProgramInfo>, entry<&Units::hasProgramPitchNames>,
     entry<&Units::getProgramPitchName>, entry<&Units::getSelectedUnit>, entry<&Units::selectUnit>,
     entry<&Units::getUnitByBus>, entry<&Units::setUnitProgramData>}};

std::int32_t Units::getUnitCount() {
    return 1;
}

v3_result Units::getUnitInfo(std::int32_t index, v3_unit_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    *info = {.id = kRoot, .parent_unit_id = kNone, .name = {}, .program_list_id = kList};
    writeText(product::name, info->name);
    return V3_OK;
}

std::int32_t Units::getProgramListCount() {
    return 1;
}

v3_result Units::getProgramListInfo(std::int32_t index, v3_program_list_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    const auto count = static_cast<std::int32_t>(parameters_.programs().size());
    *info = {.id = kList, .name = {}, .programCount = count};
    writeText("Factory presets", info->name);
    return V3_OK;
}

v3_result Units::getProgramName(std::int32_t list, std::int32_t program, std::int16_t* name) {
    const auto index = static_cast<std::size_t>(program);
    if (!name || list != kList || index >= parameters_.programs().size()) return V3_INVALID_ARG;
    writeText(parameters_.programs()[index], name, kTextSize);
    return V3_OK;
}

v3_result Units::getProgramInfo(std::int32_t, std::int32_t, const char*, std::int16_t*) {
    return V3_NOT_IMPLEMENTED;
}

v3_result Units::hasProgramPitchNames(std::int32_t, std::int32_t) {
    return V3_FALSE;
}

v3_result Units::getProgramPitchName(std::int32_t, std::int32_t, std::int16_t, std::int16_t*) {
    return V3_NOT_IMPLEMENTED;
}

std::int32_t Units::getSelectedUnit() {
    return kRoot;
}

v3_result Units::selectUnit(std::int32_t unit) {
    return unit == kRoot ? V3_OK : V3_INVALID_ARG;
}

v3_result Units::getUnitByBus(std::int32_t, std::int32_t, std::int32_t bus, std::int32_t,
                              std::int32_t* unit) {
    if (!unit || bus != 0) return V3_INVALID_ARG;
    *unit = kRoot;
    return V3_OK;
}

v3_result Units::setUnitProgramData(std::int32_t, std::int32_t, v3_bstream**) {
    return V3_NOT_IMPLEMENTED;
}

}  // namespace qov::hosts::vst3
