// The CLAP plug-in, as a host with timers and descriptors drives it.

#include <clap/ext/audio-ports.h>
#include <clap/plugin-factory.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "hosts/instance/product.h"
#include "tests/hosts/clap/TestHost.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/renderEvents.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;
using Edit = hosts::EditExchange::Edit;

template <class Factory>
const Factory& factory(const char* id) {
    static const ClapBinary binary(KELVANE_PLUGINS "/clap/kelvane/kelvane.clap");
    return *binary.factory<Factory>(id);
}
const clap_plugin_factory_t& factory() {
    return factory<clap_plugin_factory_t>(CLAP_PLUGIN_FACTORY_ID);
}

/// Names of the presets that a host's indexer finds inside the plug-in.
std::vector<std::string> indexedPresets() {
    namespace abi = hosts::clap::abi;
    std::vector<std::string> names;
    abi::PresetIndexer indexer{};
    indexer.version = CLAP_VERSION;
    indexer.data = &names;
    indexer.declare_location = [](const abi::PresetIndexer*, const abi::PresetPlace* place) {
        return place->kind == abi::inPlugin;
    };
    abi::PresetReceiver receiver{};
    receiver.data = &names;
    receiver.begin_preset = [](const abi::PresetReceiver* to, const char* name, const char*) {
        static_cast<std::vector<std::string>*>(to->data)->emplace_back(name);
        return true;
    };
    receiver.add_plugin_id = [](const abi::PresetReceiver*, const abi::UniversalPluginId* id) {
        if (std::string(id->id) != hosts::product::identifier) throw std::runtime_error(id->id);
    };
    receiver.set_flags = [](const abi::PresetReceiver*, std::uint32_t) {};
    receiver.add_creator = [](const abi::PresetReceiver*, const char*) {};
    const auto& presets = factory<abi::PresetFactory>(abi::presetDiscovery);
    const auto* provider =
        presets.create(&presets, &indexer, presets.get_descriptor(&presets, 0)->id);
    if (!provider->init(provider) ||
        !provider->get_metadata(provider, abi::inPlugin, nullptr, &receiver))
        throw std::runtime_error("the presets are not told");
    provider->destroy(provider);
    return names;
}

/// One event of any kind, as it lies in a host's list.
union Event {
    clap_event_header_t header;
    clap_event_param_value_t value;
    clap_event_midi_t midi;
};

Event eventOf(const AURenderEvent& from) {
    Event event{};
    const auto frame = static_cast<std::uint32_t>(from.head.eventSampleTime);
    if (isMidi(from)) {
        const auto& data = from.MIDI.data;
        event.midi = {{sizeof event.midi, frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_MIDI, 0},
                      0,
                      {data[0], data[1], data[2]}};
    } else {
        event.value = {
            {sizeof event.value, frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0},
            static_cast<clap_id>(from.parameter.parameterAddress),
            nullptr,
            -1,
            -1,
            -1,
            -1,
            double{from.parameter.value}};
    }
    return event;
}

/// Keeps two threads of the host apart without the system's help.
class Spin {
 public:
    explicit Spin(std::atomic_flag& flag) : flag_(flag) {
        while (flag_.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~Spin() { flag_.clear(std::memory_order_release); }
    Spin(const Spin&) = delete;
    Spin& operator=(const Spin&) = delete;

 private:
    std::atomic_flag& flag_;
};

class ClapPluginUnderTest : public Plugin {
 public:
    ClapPluginUnderTest() {
        plugin_ = factory().create_plugin(&factory(), &host_.table, hosts::product::identifier);
        if (!plugin_) throw std::runtime_error("the plug-in is not made");
        if (!plugin_->init(plugin_)) throw std::runtime_error("the plug-in does not start");
        params_ = ClapTestHost::extension<clap_plugin_params_t>(plugin_, CLAP_EXT_PARAMS);
        told_.reserve(1024);
    }
    ~ClapPluginUnderTest() override {
        if (isActive_) deactivate();
        plugin_->destroy(plugin_);
    }

    // Sound

    bool activate(double sampleRate, std::uint32_t longestBlock) override {
        rate_ = sampleRate;
        longest_ = longestBlock;
        isActive_ = plugin_->activate(plugin_, sampleRate, 1, longestBlock) &&
                    plugin_->start_processing(plugin_);
        return isActive_;
    }
    void deactivate() override {
        plugin_->stop_processing(plugin_);
        plugin_->deactivate(plugin_);
        isActive_ = false;
    }
    void reset() override { plugin_->reset(plugin_); }

    void prepare(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames,
                 std::span<const AURenderEvent> events) override {
        const Spin alone(busy_);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            input_[channel] = const_cast<float*>(input[channel]);
            output_[channel] = output[channel];
        }
        heard_ = std::exchange(set_, {});
        for (const auto& event : events) heard_.push_back(eventOf(event));
        block_.frames_count = frames;
    }
    void run() override { repeat(1); }
    void repeat(int times) override {
        const Spin alone(busy_);
        while (times-- > 0)
            if (plugin_->process(plugin_, &block_) == CLAP_PROCESS_ERROR)
                throw std::runtime_error("the plug-in does not process");
    }

    std::uint32_t latency() override {
        return ClapTestHost::extension<clap_plugin_latency_t>(plugin_, CLAP_EXT_LATENCY)
            ->get(plugin_);
    }
    bool takeLatencyAnnouncement() override { return std::exchange(host_.latencyChanges, 0) > 0; }

    // Parameters

    float value(std::uint64_t address) override {
        double value = -1;
        params_->get_value(plugin_, static_cast<clap_id>(address), &value);
        return static_cast<float>(value);
    }
    void setValue(std::uint64_t address, float value) override {
        const auto event = eventOf(parameterEvent(0, address, value));
        const Spin alone(busy_);
        set_.push_back(event);
        if (!isActive_) flush();
    }
    std::string valueText(std::uint64_t address, float value) override {
        std::array<char, 64> text{};
        params_->value_to_text(plugin_, static_cast<clap_id>(address), double{value}, text.data(),
                               text.size());
        return text.data();
    }
    std::optional<float> parseValue(std::uint64_t address, const std::string& text) override {
        double value = -1;
        if (!params_->text_to_value(plugin_, static_cast<clap_id>(address), text.c_str(), &value))
            return std::nullopt;
        return static_cast<float>(value);
    }
    std::vector<Edit> takeEdits() override {
        std::vector<Edit> edits;
        edits.reserve(told_.capacity());
        const Spin alone(busy_);
        return std::exchange(told_, std::move(edits));
    }

    // State, a few bytes at a time

    std::string saveState() override {
        std::string bytes;
        const clap_ostream_t stream{
            &bytes, [](const clap_ostream_t* to, const void* from, uint64_t size) -> int64_t {
                const auto count = std::min<uint64_t>(size, 7);
                static_cast<std::string*>(to->ctx)->append(static_cast<const char*>(from), count);
                return static_cast<int64_t>(count);
            }};
        if (!state()->save(plugin_, &stream)) throw std::runtime_error("the state is not saved");
        return bytes;
    }
    bool restoreState(std::string_view bytes) override {
        const clap_istream_t stream{
            &bytes, [](const clap_istream_t* from, void* to, uint64_t size) -> int64_t {
                auto& left = *static_cast<std::string_view*>(from->ctx);
                const auto count = left.copy(static_cast<char*>(to), std::min<uint64_t>(size, 5));
                left.remove_prefix(count);
                return static_cast<int64_t>(count);
            }};
        return state()->load(plugin_, &stream);
    }

    // Editor

    bool openEditor(std::uint64_t parent) override {
        const clap_window_t window{.api = CLAP_WINDOW_API_X11, .x11 = parent};
        return gui()->create(plugin_, CLAP_WINDOW_API_X11, false) && gui()->set_scale(plugin_, 1) &&
               gui()->set_parent(plugin_, &window) && gui()->show(plugin_);
    }
    void closeEditor() override { gui()->destroy(plugin_); }
    std::pair<int, int> editorSize() override {
        uint32_t width = 0, height = 0;
        gui()->get_size(plugin_, &width, &height);
        return {static_cast<int>(width), static_cast<int>(height)};
    }
    bool resizeEditor(int width, int height) override {
        return gui()->set_size(plugin_, static_cast<uint32_t>(width),
                               static_cast<uint32_t>(height));
    }

    void idle() override {
        host_.turnLoops(plugin_);
        if (host_.callback.exchange(false)) plugin_->on_main_thread(plugin_);
        if (host_.flush.exchange(false) && !isActive_) flush();
        if (host_.restart.exchange(false) && isActive_) {
            const Spin alone(busy_);
            deactivate();
            activate(rate_, longest_);
        }
    }

 private:
    const clap_plugin_state_t* state() const {
        return ClapTestHost::extension<clap_plugin_state_t>(plugin_, CLAP_EXT_STATE);
    }
    const clap_plugin_gui_t* gui() const {
        return ClapTestHost::extension<clap_plugin_gui_t>(plugin_, CLAP_EXT_GUI);
    }

    void flush() {
        heard_ = std::exchange(set_, {});
        params_->flush(plugin_, &in_, &out_);
    }

    static bool hear(const clap_output_events_t* list, const clap_event_header_t* event) {
        auto& self = *static_cast<ClapPluginUnderTest*>(list->ctx);
        if ((event->flags & CLAP_EVENT_DONT_RECORD) || self.told_.size() == self.told_.capacity())
            return true;
        if (event->type == CLAP_EVENT_PARAM_VALUE) {
            const auto& change = *reinterpret_cast<const clap_event_param_value_t*>(event);
            auto& latest = self.latest_.at(change.param_id) = static_cast<float>(change.value);
            self.told_.push_back({Edit::Kind::value, change.param_id, latest});
            return true;
        }
        const bool begins = event->type == CLAP_EVENT_PARAM_GESTURE_BEGIN;
        if (!begins && event->type != CLAP_EVENT_PARAM_GESTURE_END) return true;
        const auto address = reinterpret_cast<const clap_event_param_gesture_t*>(event)->param_id;
        self.told_.push_back(
            {begins ? Edit::Kind::begin : Edit::Kind::end, address, self.latest_.at(address)});
        return true;
    }

    ClapTestHost host_;
    const clap_plugin_t* plugin_ = nullptr;
    const clap_plugin_params_t* params_ = nullptr;
    double rate_ = 0;
    std::uint32_t longest_ = 0;
    std::atomic<bool> isActive_{false};

    std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
    std::vector<Event> set_;    // by the main thread, for the next block
    std::vector<Event> heard_;  // in the present one
    std::vector<Edit> told_;    // by the editor, through the plug-in
    std::array<float, hosts::EditExchange::parameters> latest_{};  // told

    std::array<float*, 2> input_{}, output_{};
    clap_audio_buffer_t inputs_{input_.data(), nullptr, 2, 0, 0};
    clap_audio_buffer_t outputs_{output_.data(), nullptr, 2, 0, 0};
    const clap_input_events_t in_{
        this,
        [](const clap_input_events_t* list) {
            const auto& heard = static_cast<const ClapPluginUnderTest*>(list->ctx)->heard_;
            return static_cast<uint32_t>(heard.size());
        },
        [](const clap_input_events_t* list, uint32_t index) -> const clap_event_header_t* {
            return &static_cast<const ClapPluginUnderTest*>(list->ctx)->heard_[index].header;
        }};
    const clap_output_events_t out_{this, hear};
    clap_process_t block_{.steady_time = -1,
                          .frames_count = 0,
                          .transport = nullptr,
                          .audio_inputs = &inputs_,
                          .audio_outputs = &outputs_,
                          .audio_inputs_count = 1,
                          .audio_outputs_count = 1,
                          .in_events = &in_,
                          .out_events = &out_};
};

class ClapFormat : public Format {
 public:
    std::string name() const override { return "CLAP"; }
    Capabilities capabilities() const override { return {}; }
    PluginDescription describe() override;
    std::unique_ptr<Plugin> create() override { return std::make_unique<ClapPluginUnderTest>(); }
};

PluginDescription ClapFormat::describe() {
    const auto& plugins = factory();
    if (plugins.get_plugin_count(&plugins) != 1) throw std::runtime_error("not one plug-in");
    const auto& about = *plugins.get_plugin_descriptor(&plugins, 0);
    PluginDescription description;
    description.id = about.id;
    description.name = about.name;
    description.maker = about.vendor;
    description.version = about.version;
    description.presets = indexedPresets();
    for (const char** feature = about.features; *feature; ++feature)
        description.categories.emplace_back(*feature);

    // Of parameters and ports an instance tells.
    ClapTestHost host;
    const auto* plugin = plugins.create_plugin(&plugins, &host.table, about.id);
    if (!plugin || !plugin->init(plugin)) throw std::runtime_error("no plug-in to be had");
    const auto* ports =
        ClapTestHost::extension<clap_plugin_audio_ports_t>(plugin, CLAP_EXT_AUDIO_PORTS);
    for (const bool isInput : {true, false})
        for (uint32_t port = 0; port < ports->count(plugin, isInput); ++port) {
            clap_audio_port_info_t info{};
            if (!ports->get(plugin, port, isInput, &info)) throw std::runtime_error("no port");
            (isInput ? description.inputs : description.outputs) +=
                static_cast<int>(info.channel_count);
        }
    const auto* params = ClapTestHost::extension<clap_plugin_params_t>(plugin, CLAP_EXT_PARAMS);
    for (uint32_t index = 0; index < params->count(plugin); ++index) {
        clap_param_info_t info{};
        if (!params->get_info(plugin, index, &info)) throw std::runtime_error("no parameter");
        description.parameters.push_back(
            {.address = info.id,
             .name = info.name,
             .minimum = static_cast<float>(info.min_value),
             .maximum = static_cast<float>(info.max_value),
             .initial = static_cast<float>(info.default_value),
             .isSwitch = (info.flags & CLAP_PARAM_IS_STEPPED) != 0,
             .isBypass = (info.flags & CLAP_PARAM_IS_BYPASS) != 0,
             .isAutomatable = (info.flags & CLAP_PARAM_IS_AUTOMATABLE) != 0});
    }
    plugin->destroy(plugin);
    return description;
}

const bool registered = Format::add<ClapFormat>();

}  // namespace
}  // namespace qov::test
