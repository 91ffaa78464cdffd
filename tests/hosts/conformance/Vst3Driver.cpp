#include <travesty/edit_controller.h>
#include <travesty/factory.h>
// The order matters to them.
#include <travesty/audio_processor.h>
#include <travesty/component.h>
#include <travesty/unit.h>

#include <stdexcept>

#include "hosts/vst3/Interface.h"
#include "hosts/vst3/text16.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/conformance/SharedObject.h"
#include "tests/hosts/vst3/Host.h"

namespace qov::test {
namespace {

using hosts::EditExchange;
using hosts::vst3::Held;
using hosts::vst3::readText;
using hosts::vst3::writeText;
using platform::AURenderEvent;
using vst3::Changes;
using vst3::Host;
using vst3::Stream;

constexpr std::size_t textSize = 128;
constexpr const char* path =
    KELVANE_PLUGINS "/vst3/QOV Kelvane.vst3/Contents/" KELVANE_PROCESSOR "-linux/QOV Kelvane.so";

/// The plug-in's module, between its entry and its exit.
class Module : public SharedObject {
 public:
    Module() : SharedObject(path) {
        if (!symbol<bool(void*)>("ModuleEntry")(this)) throw std::runtime_error("ModuleEntry");
        void* made = symbol<void*()>("GetPluginFactory")();  // as the plug-in declares it
        factory = vst3::adopted(static_cast<v3_plugin_factory**>(made));
    }
    ~Module() {
        factory = {};
        symbol<bool()>("ModuleExit")();
    }
    Held<v3_plugin_factory> factory;
};

template <class Interface, class Other>
Held<Interface> ask(const Held<Other>& object, const v3_tuid id) {
    auto held = Held<Interface>::of(object.get(), id);
    if (!held) throw std::runtime_error("an interface is missing");
    return held;
}

class Vst3Plugin : public Plugin {
 public:
    Vst3Plugin() {
        v3_class_info info;
        module_.factory(&v3_plugin_factory::get_class_info, 0, &info);
        void* created = nullptr;
        module_.factory(&v3_plugin_factory::create_instance,
                        static_cast<const std::uint8_t*>(info.class_id),
                        static_cast<const std::uint8_t*>(v3_component_iid), &created);
        if (!created) throw std::runtime_error("the plug-in is not created");
        component_ = vst3::adopted(static_cast<v3_component**>(created));
        if (v3_cpp_obj_initialize(component_.get(), host_.face()) != V3_OK)
            throw std::runtime_error("initialize");
        processor_ = ask<v3_audio_processor>(component_, v3_audio_processor_iid);
        controller_ = ask<v3_edit_controller>(component_, v3_edit_controller_iid);
        mapping_ = ask<v3_midi_mapping>(component_, v3_midi_mapping_iid);
        controller_(&v3_edit_controller::set_component_handler, host_.handler());
    }
    /// The view is released last, as a host may do.
    ~Vst3Plugin() override {
        if (isActive_) deactivate();
        v3_cpp_obj_terminate(component_.get());
        controller_(&v3_edit_controller::set_component_handler, nullptr);
    }

    void reset() override {
        processor_(&v3_audio_processor::set_processing, v3_bool{false});
        processor_(&v3_audio_processor::set_processing, v3_bool{true});
    }

    void run() override {
        if (processor_(&v3_audio_processor::process, &data_) != V3_OK)
            throw std::runtime_error("process");
    }

    std::uint32_t latency() override {
        return processor_(&v3_audio_processor::get_latency_samples);
    }
    /// The host restarts the plug-in later.
    bool takeLatencyAnnouncement() override {
        const bool hasChanged = std::exchange(host_.latencyChanged, false);
        if (hasChanged && isActive_) setActive(false), setActive(true);
        return hasChanged;
    }

    float value(std::uint64_t address) override {
        return static_cast<float>(controller_(&v3_edit_controller::get_parameter_normalised,
                                              static_cast<v3_param_id>(address)));
    }
    void setValue(std::uint64_t address, float value) override {
        const auto id = static_cast<v3_param_id>(address);
        controller_(&v3_edit_controller::set_parameter_normalised, id, double{value});
        if (isActive_) Plugin::setValue(address, value);
    }
    std::string valueText(std::uint64_t address, float value) override {
        std::int16_t text[textSize] = {};
        controller_(&v3_edit_controller::get_parameter_string_for_value,
                    static_cast<v3_param_id>(address), double{value},
                    static_cast<std::int16_t*>(text));
        return readText(text, textSize);
    }
    std::optional<float> parseValue(std::uint64_t address, const std::string& text) override {
        std::int16_t wide[textSize];
        writeText(text, wide);
        double value = 0;
        if (controller_(&v3_edit_controller::get_parameter_value_for_string,
                        static_cast<v3_param_id>(address), static_cast<std::int16_t*>(wide),
                        &value) != V3_OK)
            return std::nullopt;
        return static_cast<float>(value);
    }
    std::vector<EditExchange::Edit> takeEdits() override { return std::exchange(host_.edits, {}); }

    std::string saveState() override {
        Stream stream;
        component_(&v3_component::get_state, stream.face());
        return stream.bytes;
    }
    bool restoreState(std::string_view bytes) override {
        Stream stream(bytes);
        Stream again(bytes);
        return component_(&v3_component::set_state, stream.face()) == V3_OK &&
               controller_(&v3_edit_controller::set_component_state, again.face()) == V3_OK;
    }

    bool openEditor(std::uint64_t parent) override {
        view_ = vst3::adopted(controller_(&v3_edit_controller::create_view, "editor"));
        if (!view_) return false;
        ask<v3_plugin_view_content_scale>(view_, v3_plugin_view_content_scale_iid)(
            &v3_plugin_view_content_scale::set_content_scale_factor, 1.0F);
        view_(&v3_plugin_view::set_frame, host_.frame());
        return view_(&v3_plugin_view::attached, reinterpret_cast<void*>(parent),
                     V3_VIEW_PLATFORM_TYPE_X11) == V3_OK;
    }
    void closeEditor() override {
        if (!view_) return;
        view_(&v3_plugin_view::removed);
        view_(&v3_plugin_view::set_frame, nullptr);
        view_ = {};
    }
    std::pair<int, int> editorSize() override {
        v3_view_rect rect{};
        if (view_) view_(&v3_plugin_view::get_size, &rect);
        return {rect.right - rect.left, rect.bottom - rect.top};
    }
    bool resizeEditor(int width, int height) override {
        v3_view_rect rect{0, 0, width, height};
        return view_ && view_(&v3_plugin_view::can_resize) == V3_OK &&
               view_(&v3_plugin_view::check_size_constraint, &rect) == V3_OK &&
               view_(&v3_plugin_view::on_size, &rect) == V3_OK;
    }
    void idle() override { host_.turn(); }

    void describe(PluginDescription& description) const;

 private:
    bool start(double sampleRate, std::uint32_t longestBlock) override {
        v3_process_setup setup{.process_mode = V3_REALTIME,
                               .symbolic_sample_size = V3_SAMPLE_32,
                               .max_block_size = static_cast<std::int32_t>(longestBlock),
                               .sample_rate = sampleRate};
        return processor_(&v3_audio_processor::setup_processing, &setup) == V3_OK &&
               setActive(true);
    }
    void stop() override { setActive(false); }
    bool setActive(bool isActive) {
        if (!isActive) processor_(&v3_audio_processor::set_processing, v3_bool{false});
        const auto result = component_(&v3_component::set_active, v3_bool{isActive});
        if (isActive) processor_(&v3_audio_processor::set_processing, v3_bool{true});
        return result == V3_OK;
    }
    void setUp(const std::vector<AURenderEvent>& pending,
               std::span<const AURenderEvent> events) override {
        in_ = {.num_channels = 2, .channel_silence_bitset = 0, .channel_buffers_32 = input_};
        out_ = {.num_channels = 2, .channel_silence_bitset = 3, .channel_buffers_32 = output_};
        changes_.clear();
        for (const auto& event : pending) addEvent(event);
        for (const auto& event : events) addEvent(event);
        data_ = {};
        data_.symbolic_sample_size = V3_SAMPLE_32;
        data_.nframes = static_cast<std::int32_t>(frames_);
        data_.num_input_buses = data_.num_output_buses = 1;
        data_.inputs = &in_;
        data_.outputs = &out_;
        data_.input_params = changes_.face();
    }
    /// Controllers come as the parameters that the plug-in assigns to them; other messages don't.
    void addEvent(const AURenderEvent& event) {
        const auto frame = static_cast<std::uint32_t>(event.head.eventSampleTime);
        const auto& data = event.MIDI.data;
        v3_param_id id = 0;
        if (!isMidi(event))
            changes_.add(static_cast<v3_param_id>(event.parameter.parameterAddress), frame,
                         double{event.parameter.value});
        else if ((data[0] & 0xf0) == 0xb0 &&
                 mapping_(&v3_midi_mapping::get_midi_controller_assignment, 0,
                          std::int16_t(data[0] & 0xf), std::int16_t{data[1]}, &id) == V3_OK)
            changes_.add(id, frame, data[2] / 127.0);
    }

    Module module_;
    Host host_;
    Held<v3_plugin_view> view_;
    Held<v3_component> component_;
    Held<v3_audio_processor> processor_;
    Held<v3_edit_controller> controller_;
    Held<v3_midi_mapping> mapping_;
    Changes changes_;
    v3_audio_bus_buffers in_{}, out_{};
    v3_process_data data_{};
};

/// Adds what only an instance describes.
void Vst3Plugin::describe(PluginDescription& description) const {
    const auto count = controller_(&v3_edit_controller::get_parameter_count);
    for (std::int32_t index = 0; index < count; ++index) {
        v3_param_info info;
        controller_(&v3_edit_controller::get_parameter_info, index, &info);
        if (info.flags & (V3_PARAM_IS_HIDDEN | V3_PARAM_PROGRAM_CHANGE)) continue;
        description.parameters.push_back(
            {.address = info.param_id,
             .name = readText(info.title, textSize),
             .initial = static_cast<float>(info.default_normalised_value),
             .isSwitch = info.step_count == 1,
             .isBypass = (info.flags & V3_PARAM_IS_BYPASS) != 0,
             .isAutomatable = (info.flags & V3_PARAM_CAN_AUTOMATE) != 0});
    }
    const auto units = ask<v3_unit_information>(component_, v3_unit_information_iid);
    v3_program_list_info list;
    units(&v3_unit_information::get_program_list_info, 0, &list);
    for (std::int32_t program = 0; program < list.programCount; ++program) {
        std::int16_t name[textSize];
        units(&v3_unit_information::get_program_name, list.id, program,
              static_cast<std::int16_t*>(name));
        description.presets.push_back(readText(name, textSize));
    }
    v3_bus_info bus;
    component_(&v3_component::get_bus_info, int{V3_AUDIO}, int{V3_INPUT}, 0, &bus);
    description.inputs = bus.channel_count;
    component_(&v3_component::get_bus_info, int{V3_AUDIO}, int{V3_OUTPUT}, 0, &bus);
    description.outputs = bus.channel_count;
}

PluginDescription describe() {
    PluginDescription description;
    {
        const Module module;
        v3_class_info_2 info;
        ask<v3_plugin_factory_2>(module.factory, v3_plugin_factory_2_iid)(
            &v3_plugin_factory_2::get_class_info_2, 0, &info);
        description.name = info.name;
        description.maker = info.vendor;
        description.version = info.version;
    }
    Vst3Plugin().describe(description);
    return description;
}

const bool registered = Format::add<Vst3Plugin>("VST3", {}, describe);

}  // namespace
}  // namespace qov::test
