// The LV2 bundle, through the format's C interface and, for its description, through lilv.

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/presets/presets.h>
#include <lv2/ui/ui.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/conformance/SharedObject.h"
#include "tests/hosts/lv2/Lv2Host.h"

namespace qov::test {
namespace {

using hosts::EditExchange;
using hosts::lv2::firstControl;
using platform::AURenderEvent;

const std::string bundle = KELVANE_PLUGINS "/lv2/kelvane.lv2/";

/// A shared object of the bundle, and its only descriptor.
template <class Descriptor>
struct Binary : SharedObject {
    Binary(const std::string& file, const char* entryPoint) : SharedObject(bundle + file) {
        const auto entry = symbol<const Descriptor*(std::uint32_t)>(entryPoint);
        descriptor = entry ? entry(0) : nullptr;
        if (!descriptor || entry(1)) throw std::runtime_error(file + " has not one plug-in");
    }
    const Descriptor* descriptor;
};

/// The port's value for a host's value of the parameter.
float portOf(std::uint64_t address, float value) {
    if (!parameterAt(address)->isSwitch() || std::isnan(value)) return value;
    return (value > 0.5F) != (address == kBypass) ? 1.0F : 0.0F;
}

class Lv2Plugin : public Plugin {
 public:
    Lv2Plugin() { instantiate(48000, 0); }
    ~Lv2Plugin() override {
        closeEditor();
        if (isActive_) deactivate();
    }

    void reset() override {
        host_->deactivate();
        host_->activate();
    }

    void run() override {
        host_->run(frames_);
        latency_.store(static_cast<std::uint32_t>(host_->latency), std::memory_order_relaxed);
    }

    std::uint32_t latency() override { return latency_; }

    /// The value in a saved state: a host has no other way to read it from any thread.
    float value(std::uint64_t address) override {
        const auto text = host_->save()[state];
        const auto key = "value." + std::to_string(address) + "=";
        const auto at = text.find(key);
        if (at == std::string::npos) throw std::runtime_error("no value in the state: " + text);
        return std::strtof(text.c_str() + at + key.size(), nullptr);
    }
    void setValue(std::uint64_t address, float value) override {
        Plugin::setValue(address, portOf(address, value));
    }
    std::vector<EditExchange::Edit> takeEdits() override { return std::exchange(edits_, {}); }

    // A host saves the values of the ports beside the properties.
    std::string saveState() override {
        auto saved = host_->save();
        const std::lock_guard alone(busy_);
        std::string bytes(reinterpret_cast<const char*>(host_->controls.data()),
                          sizeof host_->controls);
        return bytes + saved[seenPorts].c_str() + '\n' + saved[state].c_str();
    }
    bool restoreState(std::string_view bytes) override {
        auto& controls = host_->controls;
        const auto end = bytes.find('\n', sizeof controls);
        if (bytes.size() < sizeof controls || end == std::string_view::npos) return false;
        const auto text = [&](std::size_t from, std::size_t to) {
            return std::string(bytes.substr(from, to - from)) + '\0';
        };
        if (!host_->restore(
                {{seenPorts, text(sizeof controls, end)}, {state, text(end + 1, bytes.size())}}))
            return false;
        std::memcpy(controls.data(), bytes.data(), sizeof controls);
        return true;
    }

    bool openEditor(std::uint64_t parent) override {
        if (!editorBinary_) editorBinary_.emplace("kelvane_ui.so", "lv2ui_descriptor");
        parent_ = parent;
        const LV2_Feature all[] = {{LV2_URID__map, &host_->urids.feature},
                                   {LV2_UI__touch, &touch_},
                                   {LV2_UI__resize, &resize_},
                                   {LV2_UI__parent, reinterpret_cast<void*>(parent)},
                                   {LV2_INSTANCE_ACCESS_URI, host_->handle}};
        const LV2_Feature* const features[] = {&all[0], &all[1], &all[2],
                                               &all[3], &all[4], nullptr};
        const auto write = [](LV2UI_Controller self, std::uint32_t port, std::uint32_t,
                              std::uint32_t, const void* value) {
            static_cast<Lv2Plugin*>(self)->write(port - firstControl,
                                                 *static_cast<const float*>(value));
        };
        LV2UI_Widget widget = nullptr;
        const auto& descriptor = *editorBinary_->descriptor;
        editor_ = descriptor.instantiate(&descriptor, hosts::product::uri, "", write, this, &widget,
                                         features);
        return editor_ != nullptr;
    }
    void closeEditor() override {
        if (editor_) editorBinary_->descriptor->cleanup(std::exchange(editor_, nullptr));
    }
    std::pair<int, int> editorSize() override { return editor_ ? size_ : std::pair(0, 0); }
    bool resizeEditor(int width, int height) override {
        size_ = {width, height};
        return editor_ &&
               editorInterface<LV2UI_Resize>(LV2_UI__resize).ui_resize(editor_, width, height) == 0;
    }
    void idle() override {
        if (editor_) editorInterface<LV2UI_Idle_Interface>(LV2_UI__idleInterface).idle(editor_);
    }

 private:
    using Kind = EditExchange::Edit::Kind;

    bool instantiate(double rate, std::uint32_t longestBlock) {
        auto host = std::make_unique<Lv2Host>(
            *binary_.descriptor,
            Lv2Host::Options{.rate = rate,
                             .longestBlock = static_cast<std::int32_t>(longestBlock)});
        if (!host->handle) return false;
        host_ = std::move(host);
        rate_ = rate;
        longestBlock_ = longestBlock;
        return true;
    }

    /// A plug-in keeps its rate and longest block, so others make a new plug-in with the old one's
    /// state.
    bool start(double sampleRate, std::uint32_t longestBlock) override {
        if (sampleRate != rate_ || longestBlock != longestBlock_) {
            const auto bytes = saveState();
            const bool hasEditor = editor_ != nullptr;
            closeEditor();
            if (!instantiate(sampleRate, longestBlock) || !restoreState(bytes)) return false;
            if (hasEditor) openEditor(parent_);
        }
        host_->activate();
        prepare({nullptr, nullptr}, {nullptr, nullptr}, 0, {});
        run();
        return true;
    }
    void stop() override { host_->deactivate(); }
    void runInactive() override {
        host_->activate();
        run();
        host_->deactivate();
    }
    /// The host's own changes go to the ports. One that a port does not show, as it had that value
    /// already, goes as a message.
    void setUp(const std::vector<AURenderEvent>& pending,
               std::span<const AURenderEvent> events) override {
        host_->connectAudio(input_, output_);
        std::vector<AURenderEvent> messages;
        for (const auto& setting : pending) {
            const auto address = setting.parameter.parameterAddress;
            const float value = setting.parameter.value;
            auto& port = host_->controls[address];
            if (port == value)
                messages.push_back(
                    parameterEvent(0, address, address == kBypass ? 1 - value : value));
            port = value;
        }
        messages.insert(messages.end(), events.begin(), events.end());
        host_->takeAnswers();
        host_->send(messages);
    }

    // The editor's calls

    template <class Interface>
    const Interface& editorInterface(const char* uri) const {
        return *static_cast<const Interface*>(editorBinary_->descriptor->extension_data(uri));
    }
    void write(std::uint64_t address, float port) {
        edits_.push_back({Kind::value, address, address == kBypass ? 1 - port : port});
        Plugin::setValue(address, port);
    }
    LV2UI_Touch touch_{this, [](LV2UI_Feature_Handle handle, std::uint32_t port, bool isDown) {
                           static_cast<Lv2Plugin*>(handle)->edits_.push_back(
                               {isDown ? Kind::begin : Kind::end, port - firstControl, 0});
                       }};
    LV2UI_Resize resize_{this, [](LV2UI_Feature_Handle self, int width, int height) {
                             static_cast<Lv2Plugin*>(self)->size_ = {width, height};
                             return 0;
                         }};

    const std::string state = hosts::lv2::stateUri();
    const std::string seenPorts = hosts::lv2::seenPortsUri();

    Binary<LV2_Descriptor> binary_{"kelvane.so", "lv2_descriptor"};
    std::optional<Binary<LV2UI_Descriptor>> editorBinary_;
    double rate_ = 0;
    std::uint32_t longestBlock_ = 0;
    std::unique_ptr<Lv2Host> host_;
    LV2UI_Handle editor_ = nullptr;
    std::uint64_t parent_ = 0;
    std::pair<int, int> size_;
    std::vector<EditExchange::Edit> edits_;
    std::atomic<std::uint32_t> latency_{0};
};

/// A node of lilv's, freed with this.
using Node = std::unique_ptr<LilvNode, decltype(&lilv_node_free)>;

std::string textOf(LilvNode* node) {
    const Node owned(node, lilv_node_free);
    return node ? lilv_node_as_string(node) : "";
}

PluginDescription describe() {
    const Binary<LV2_Descriptor> binary("kelvane.so", "lv2_descriptor");
    const std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> owner(lilv_world_new(),
                                                                       lilv_world_free);
    auto* const world = owner.get();
    const auto uri = [&](const std::string& text) {
        return Node(lilv_new_uri(world, text.c_str()), lilv_node_free);
    };
    const auto object = [&](const LilvNode* subject, const std::string& predicate) {
        return textOf(lilv_world_get(world, subject, uri(predicate).get(), nullptr));
    };
    lilv_world_load_bundle(
        world, Node(lilv_new_file_uri(world, nullptr, bundle.c_str()), lilv_node_free).get());
    const auto* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world),
                                                 uri(binary.descriptor->URI).get());
    if (!plugin) throw std::runtime_error("lilv finds no plug-in in " + bundle);
    const auto channels = [&](const char* direction) {
        return static_cast<int>(lilv_plugin_get_num_ports_of_class(
            plugin, uri(LV2_CORE__AudioPort).get(), uri(direction).get(), nullptr));
    };
    PluginDescription description{textOf(lilv_plugin_get_name(plugin)),
                                  textOf(lilv_plugin_get_author_name(plugin)),
                                  {},
                                  {},
                                  {},
                                  channels(LV2_CORE__InputPort),
                                  channels(LV2_CORE__OutputPort)};
    const std::string doap = "http://usefulinc.com/ns/doap#";
    const Node release(
        lilv_world_get(world, lilv_plugin_get_uri(plugin), uri(doap + "release").get(), nullptr),
        lilv_node_free);
    description.version = object(release.get(), doap + "revision");
    auto* presets = lilv_plugin_get_related(plugin, uri(LV2_PRESETS__Preset).get());
    LILV_FOREACH(nodes, each, presets) {
        const auto* node = lilv_nodes_get(presets, each);
        lilv_world_load_resource(world, node);
        description.presets.push_back(object(node, LILV_NS_RDFS "label"));
    }
    lilv_nodes_free(presets);

    std::vector<float> minimum(lilv_plugin_get_num_ports(plugin)), maximum = minimum,
                                                                   initial = minimum;
    lilv_plugin_get_port_ranges_float(plugin, minimum.data(), maximum.data(), initial.data());
    for (std::uint32_t address = 0; address < parameterCount; ++address) {
        const auto index = firstControl + address;
        const auto* port = lilv_plugin_get_port_by_index(plugin, index);
        auto& parameter = description.parameters.emplace_back();
        parameter = {
            .address = address,
            .name = textOf(lilv_port_get_name(plugin, port)),
            .minimum = minimum[index],
            .maximum = maximum[index],
            .initial = initial[index],
            .isSwitch = lilv_port_has_property(plugin, port, uri(LV2_CORE__toggled).get())};
        if (object(lilv_port_get_node(plugin, port), LV2_CORE__designation) != LV2_CORE__enabled)
            continue;
        if (parameter.name != "Enabled") throw std::runtime_error("the opposite of its name");
        parameter.isBypass = true;
        parameter.name = "Bypass";
        parameter.initial = 1 - parameter.initial;
    }
    return description;
}

const bool registered = Format::add<Lv2Plugin>("LV2", {false, false, false, false}, describe);

}  // namespace
}  // namespace qov::test
