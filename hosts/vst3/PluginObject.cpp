#include "hosts/vst3/PluginObject.h"

#include <utility>

#include "hosts/instance/Instance.h"
#include "hosts/instance/made.h"
#include "hosts/vst3/createPlugin.h"
#include "hosts/window/makeInstance.h"

namespace qov::hosts::vst3 {

PluginObject::PluginObject(std::unique_ptr<Instance> instance, Held<v3_run_loop> loop)
    : instance_(std::move(instance)),
      controller_(*this, *instance_, values_, std::move(loop)),
      processor_(*instance_, values_, controller_),
      units_(controller_.parameters()) {}

PluginObject::~PluginObject() {
    controller_.terminate();  // if the host has not
}

void* PluginObject::find(const std::uint8_t* id) noexcept {
    const std::pair<const v3_tuid&, Face&> faces[] = {
        {v3_funknown_iid, component_},
        {v3_plugin_base_iid, component_},
        {v3_component_iid, component_},
        {v3_audio_processor_iid, audioProcessor_},
        {v3_process_context_requirements_iid, requirements_},
        {v3_edit_controller_iid, editController_},
        {v3_midi_mapping_iid, midiMapping_},
        {v3_unit_information_iid, unitInformation_},
    };
    for (const auto& [face, object] : faces)
        if (v3_tuid_match(id, face)) return &object;
    return nullptr;
}

}  // namespace qov::hosts::vst3

extern "C" v3_funknown** kelvane_vst3_create(v3_funknown** host) {
    using namespace qov;
    using namespace qov::hosts;
    using vst3::PluginObject;
    auto* object = made<PluginObject>([&](std::string* error) -> std::unique_ptr<PluginObject> {
        auto instance = makeInstance({}, error);
        if (!instance) return nullptr;
        auto loop = vst3::Held<v3_run_loop>::of(host, v3_run_loop_iid);
        return std::make_unique<PluginObject>(std::move(instance), std::move(loop));
    });
    return object ? object->face() : nullptr;
}
