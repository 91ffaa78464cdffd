#include "tests/hosts/conformance/Lv2Description.h"

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/presets/presets.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "hosts/lv2/Ports.h"

namespace qov::test {
namespace {

/// lilv's view of the bundle.
class World {
 public:
    World(const std::string& bundle, const std::string& id) {
        auto* folder = lilv_new_file_uri(world_, nullptr, bundle.c_str());
        lilv_world_load_bundle(world_, folder);
        lilv_node_free(folder);
        auto* key = uri(id);
        plugin_ = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world_), key);
        lilv_node_free(key);
        if (!plugin_) throw std::runtime_error("lilv finds no plug-in in " + bundle);
    }
    ~World() { lilv_world_free(world_); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    LilvNode* uri(const std::string& text) { return lilv_new_uri(world_, text.c_str()); }
    static std::string text(LilvNode* node) {
        const std::string result = node ? lilv_node_as_string(node) : "";
        lilv_node_free(node);
        return result;
    }
    /// An object of a triple.
    std::string object(const LilvNode* subject, const std::string& predicate) {
        auto* key = uri(predicate);
        auto* found = lilv_world_get(world_, subject, key, nullptr);
        lilv_node_free(key);
        return text(found);
    }

    LilvWorld* world_ = lilv_world_new();
    const LilvPlugin* plugin_ = nullptr;
};

constexpr const char* core = LV2_CORE_PREFIX;

ParameterDescription describeParameter(World& world, std::uint32_t address) {
    const auto* port =
        lilv_plugin_get_port_by_index(world.plugin_, hosts::lv2::firstControl + address);
    const auto* node = lilv_port_get_node(world.plugin_, port);
    const auto number = [&](const LilvNode* subject, const char* key) {
        return std::strtof(world.object(subject, core + std::string(key)).c_str(), nullptr);
    };
    ParameterDescription parameter;
    parameter.address = address;
    parameter.name = world.text(lilv_port_get_name(world.plugin_, port));
    parameter.minimum = number(node, "minimum");
    parameter.maximum = number(node, "maximum");
    parameter.initial = number(node, "default");
    auto* toggled = world.uri(LV2_CORE__toggled);
    parameter.isSwitch = lilv_port_has_property(world.plugin_, port, toggled);
    lilv_node_free(toggled);
    parameter.isBypass = world.object(node, LV2_CORE__designation) == LV2_CORE__enabled;
    if (parameter.isBypass) {
        if (parameter.name != "Enabled") throw std::runtime_error("the opposite of its name");
        parameter.name = "Bypass";
        parameter.initial = 1 - parameter.initial;
    }
    return parameter;
}

}  // namespace

PluginDescription describeLv2(const std::string& bundle, const std::string& uri) {
    World world(bundle, uri);
    const auto* plugin = world.plugin_;
    PluginDescription description;
    description.id = uri;
    description.name = world.text(lilv_plugin_get_name(plugin));
    description.maker = world.text(lilv_plugin_get_author_name(plugin));
    auto* release = world.uri("http://usefulinc.com/ns/doap#release");
    if (auto* found = lilv_world_get(world.world_, lilv_plugin_get_uri(plugin), release, nullptr)) {
        description.version = world.object(found, "http://usefulinc.com/ns/doap#revision");
        lilv_node_free(found);
    }
    lilv_node_free(release);
    auto* preset = world.uri(LV2_PRESETS__Preset);
    auto* presets = lilv_plugin_get_related(plugin, preset);
    LILV_FOREACH(nodes, each, presets) {
        const auto* node = lilv_nodes_get(presets, each);
        lilv_world_load_resource(world.world_, node);
        description.presets.push_back(
            world.object(node, "http://www.w3.org/2000/01/rdf-schema#label"));
    }
    std::ranges::sort(description.presets);
    lilv_nodes_free(presets);
    lilv_node_free(preset);
    for (std::uint32_t address = 0; address < parameterCount; ++address)
        description.parameters.push_back(describeParameter(world, address));
    for (auto [kind, count] : {std::pair(LV2_CORE__InputPort, &description.inputs),
                               std::pair(LV2_CORE__OutputPort, &description.outputs)}) {
        auto *audio = world.uri(LV2_CORE__AudioPort), *direction = world.uri(kind);
        *count =
            static_cast<int>(lilv_plugin_get_num_ports_of_class(plugin, audio, direction, nullptr));
        lilv_node_free(audio);
        lilv_node_free(direction);
    }
    return description;
}

}  // namespace qov::test
