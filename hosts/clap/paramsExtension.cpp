// The eight parameters, under their addresses.

#include <cstdio>

#include "audiounit/presets.h"
#include "dsp/ParameterAddress.h"
#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/extensions.h"

namespace qov::clap {
namespace {

bool describe(ClapPlugin& self, uint32_t index, clap_param_info_t& info) {
    const auto parameter = self.instance().audioUnit().parameterTree()->parameterWithAddress(index);
    if (!parameter) return false;
    info = {};
    info.id = static_cast<clap_id>(parameter->address());
    info.flags = CLAP_PARAM_IS_AUTOMATABLE;
    if (parameter->unit() == platform::kAudioUnitParameterUnit_Boolean)
        info.flags |= CLAP_PARAM_IS_STEPPED;
    if (parameter->address() == kBypass) info.flags |= CLAP_PARAM_IS_BYPASS;
    std::snprintf(info.name, sizeof info.name, "%s", parameter->displayName().c_str());
    info.min_value = double{parameter->minValue()};
    info.max_value = double{parameter->maxValue()};
    info.default_value = double{presetParameters[0][parameter->address()]};
    return true;
}

}  // namespace

const clap_plugin_params_t extensions::params{
    .count = [](const clap_plugin_t*) -> uint32_t { return parameterCount; },
    .get_info =
        [](const clap_plugin_t* plugin, uint32_t index, clap_param_info_t* info) {
            return info && ClapPlugin::call(plugin, false, [&](auto& self) {
                       return describe(self, index, *info);
                   });
        },
    .get_value =
        [](const clap_plugin_t* plugin, clap_id id, double* value) {
            if (id >= parameterCount || !value) return false;
            return ClapPlugin::call(plugin, false, [&](auto& self) {
                *value = double{self.instance().value(id)};
                return true;
            });
        },
    .value_to_text =
        [](const clap_plugin_t* plugin, clap_id id, double value, char* text, uint32_t size) {
            if (id >= parameterCount || !text || size == 0) return false;
            return ClapPlugin::call(plugin, false, [&](auto& self) {
                const auto words = self.instance().valueText(id, static_cast<float>(value));
                std::snprintf(text, size, "%s", words.c_str());
                return true;
            });
        },
    .text_to_value =
        [](const clap_plugin_t* plugin, clap_id id, const char* text, double* value) {
            if (!text || !value) return false;
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

}  // namespace qov::clap
