#pragma once

#include <travesty/bstream.h>
#include <travesty/unit.h>

#include <cstdint>

#include "hosts/vst3/Parameters.h"

namespace qov::hosts::vst3 {

/// The factory presets as a host lists them: one unit, with one list of programs. Main thread.
class Units {
 public:
    explicit Units(const Parameters& parameters) : parameters_(parameters) {}

    static const v3_unit_information_cpp table;

 private:
    v3_result getUnitInfo(std::int32_t index, v3_unit_info* info);
    v3_result getProgramListInfo(std::int32_t index, v3_program_list_info* info);
    v3_result getProgramName(std::int32_t list, std::int32_t program, std::int16_t* name);
    v3_result selectUnit(std::int32_t unit);
    v3_result getUnitByBus(std::int32_t media, std::int32_t direction, std::int32_t bus,
                           std::int32_t channel, std::int32_t* unit);

    const Parameters& parameters_;
};

}  // namespace qov::hosts::vst3
