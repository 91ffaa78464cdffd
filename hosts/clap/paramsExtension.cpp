// The parameters that hosts list, with their addresses as ids.

#include <cstdio>

#include "audiounit/parameters.h"
#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/extensions.h"

namespace qov::hosts::clap {
namespace {

bool describe(uint32_t index, clap_param_info_t& info) {
    if (index >= parameterCount) return false;
    const auto& parameter = hostParameters[index];
    info = {};
    info.id = static_cast<clap_id>(parameter.address);
    info.flags = CLAP_PARAM_IS_AUTOMATABLE;
    if (parameter.isSwitch()) info.flags |= CLAP_PARAM_IS_STEPPED;
    if (parameter.address == kBypass) info.flags |= CLAP_PARAM_IS_BYPASS;
    std::snprintf(info.name, sizeof info.name, "%s", parameter.name.data());
    info.max_value = 1;
    info.default_value = double{parameter.initial};
    return true;
}

}  // namespace

const clap_plugin_params_t extensions::params{
    .count = [](const clap_plugin_t*) -> uint32_t { return parameterCount; },
    .get_info = [](const clap_plugin_t* plugin, uint32_t index,
                   clap_param_info_t* info) { return plugin && info && describe(index, *info); },
    .get_value =
        [](const clap_plugin_t* plugin, clap_id id, double* value) {
            if (!isHostParameter(id) || !value) return false;
            return ClapPlugin::call(plugin, false, [&](auto& self) {
                *value = double{self.instance().value(id)};
                return true;
            });
        },
    .value_to_text =
        [](const clap_plugin_t* plugin, clap_id id, double value, char* text, uint32_t size) {
            if (!isHostParameter(id) || !text || size == 0) return false;
            return ClapPlugin::call(plugin, false, [&](auto& self) {
                const auto words = self.instance().valueText(id, static_cast<float>(value));
                std::snprintf(text, size, "%s", words.c_str());
                return true;
            });
        },
    .text_to_value =
        [](const clap_plugin_t* plugin, clap_id id, const char* text, double* value) {
            if (!isHostParameter(id) || !text || !value) return false;
            return ClapPlugin::call(plugin, false, [&](auto& self) {
                const auto meant = self.instance().parseValue(id, text);
                if (meant) *value = double{*meant};
                return meant.has_value();
            });
        },
    .flush =
        [](const clap_plugin_t* plugin, const clap_input_events_t* in,
           const clap_output_events_t* out) {
            ClapPlugin::run(plugin, [&](auto& self) { self.flush(in, out); });
        },
};

}  // namespace qov::hosts::clap
