#include "hosts/vst3/Units.h"

#include "hosts/instance/product.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

namespace {

constexpr std::int32_t rootUnit = 0;
constexpr std::int32_t noParent = -1;
constexpr std::int32_t presetList = 1;
constexpr std::size_t textSize = 128;

}  // namespace

constexpr v3_unit_information_cpp Units::table{
    unknownEntries,
    {returns<1>, entry<&Units::getUnitInfo>, returns<1>, entry<&Units::getProgramListInfo>,
     entry<&Units::getProgramName>, returns<V3_NOT_IMPLEMENTED>, returns<V3_FALSE>,
     returns<V3_NOT_IMPLEMENTED>, returns<rootUnit>, entry<&Units::selectUnit>,
     entry<&Units::getUnitByBus>, returns<V3_NOT_IMPLEMENTED>}};

v3_result Units::getUnitInfo(std::int32_t index, v3_unit_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    *info = {.id = rootUnit, .parent_unit_id = noParent, .name = {}, .program_list_id = presetList};
    writeText(product::name, info->name);
    return V3_OK;
}

v3_result Units::getProgramListInfo(std::int32_t index, v3_program_list_info* info) {
    if (!info || index != 0) return V3_INVALID_ARG;
    const auto count = static_cast<std::int32_t>(parameters_.programs().size());
    *info = {.id = presetList, .name = {}, .programCount = count};
    writeText("Factory presets", info->name);
    return V3_OK;
}

v3_result Units::getProgramName(std::int32_t list, std::int32_t program, std::int16_t* name) {
    const auto index = static_cast<std::size_t>(program);
    if (!name || list != presetList || index >= parameters_.programs().size())
        return V3_INVALID_ARG;
    writeText(parameters_.programs()[index], name, textSize);
    return V3_OK;
}

v3_result Units::selectUnit(std::int32_t unit) {
    return unit == rootUnit ? V3_OK : V3_INVALID_ARG;
}

v3_result Units::getUnitByBus(std::int32_t, std::int32_t, std::int32_t bus, std::int32_t,
                              std::int32_t* unit) {
    if (!unit || bus != 0) return V3_INVALID_ARG;
    *unit = rootUnit;
    return V3_OK;
}

}  // namespace qov::hosts::vst3
