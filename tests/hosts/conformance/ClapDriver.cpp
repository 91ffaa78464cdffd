// The CLAP plug-in, driven by a host with timers and descriptors.

#include <clap/ext/audio-ports.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <utility>

#include "audiounit/parameters.h"
#include "hosts/vst3/Gate.h"
#include "tests/hosts/clap/TestHost.h"
#include "tests/hosts/conformance/Plugin.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;
using Edit = hosts::EditExchange::Edit;

class ClapPlugin : public Plugin {
 public:
    ~ClapPlugin() override {
        if (isActive_) deactivate();
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
        const std::lock_guard alone(busy_);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            input_[channel] = const_cast<float*>(input[channel]);
            output_[channel] = output[channel];
        }
        host_.sent = std::exchange(set_, {});
        for (const auto& event : events) host_.sent.push_back(clapEvent(event));
        block_.frames_count = frames;
    }
    void run() override { repeat(1); }
    void repeat(int times) override {
        const std::lock_guard alone(busy_);
        while (times-- > 0)
            if (plugin_->process(plugin_, &block_) == CLAP_PROCESS_ERROR)
                throw std::runtime_error("the plug-in does not process");
    }

    std::uint32_t latency() override { return host_.latency(); }
    bool takeLatencyAnnouncement() override { return std::exchange(host_.latencyChanges, 0) > 0; }

    // Parameters

    float value(std::uint64_t address) override {
        double value = -1;
        params_->get_value(plugin_, static_cast<clap_id>(address), &value);
        return static_cast<float>(value);
    }
    void setValue(std::uint64_t address, float value) override {
        const auto event = clapEvent(parameterEvent(0, address, value));
        const std::lock_guard alone(busy_);
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
        using Kind = Edit::Kind;
        std::vector<ClapEvent> received;
        received.reserve(host_.received.capacity());
        {
            const std::lock_guard alone(busy_);
            std::swap(received, host_.received);
            host_.room += received.size();
        }
        std::vector<Edit> edits;
        for (const auto& event : received) {
            const auto type = event.header.type;
            if (event.header.flags & CLAP_EVENT_DONT_RECORD) continue;
            const bool isValue = type == CLAP_EVENT_PARAM_VALUE;
            const auto id = isValue ? event.value.param_id : event.gesture.param_id;
            if (isValue) latest_.at(id) = static_cast<float>(event.value.value);
            edits.push_back({isValue                                  ? Kind::value
                             : type == CLAP_EVENT_PARAM_GESTURE_BEGIN ? Kind::begin
                                                                      : Kind::end,
                             id, latest_.at(id)});
        }
        return edits;
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
        if (!state_->save(plugin_, &stream)) throw std::runtime_error("the state is not saved");
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
        return state_->load(plugin_, &stream);
    }

    // Editor

    bool openEditor(std::uint64_t parent) override {
        const clap_window_t window{.api = CLAP_WINDOW_API_X11, .x11 = parent};
        return gui_->create(plugin_, CLAP_WINDOW_API_X11, false) && gui_->set_scale(plugin_, 1) &&
               gui_->set_parent(plugin_, &window) && gui_->show(plugin_);
    }
    void closeEditor() override { gui_->destroy(plugin_); }
    std::pair<int, int> editorSize() override {
        uint32_t width = 0, height = 0;
        gui_->get_size(plugin_, &width, &height);
        return {static_cast<int>(width), static_cast<int>(height)};
    }
    bool resizeEditor(int width, int height) override {
        return gui_->set_size(plugin_, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    }

    void idle() override {
        host_.turnLoop();
        if (host_.flush.exchange(false) && !isActive_) flush();
        if (host_.restart.exchange(false) && isActive_) {
            const std::lock_guard alone(busy_);
            deactivate();
            activate(rate_, longest_);
        }
    }

 private:
    void flush() {
        host_.sent = std::exchange(set_, {});
        params_->flush(plugin_, &host_.in, &host_.out);
    }

    ClapTestHost host_;
    const clap_plugin_t* plugin_ = host_.plugin;
    const clap_plugin_params_t* params_ = host_.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    const clap_plugin_state_t* state_ = host_.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    const clap_plugin_gui_t* gui_ = host_.gui();
    double rate_ = 0;
    std::uint32_t longest_ = 0;
    std::atomic<bool> isActive_{false};

    hosts::vst3::Gate busy_;      // keeps two threads of the host apart without a system call
    std::vector<ClapEvent> set_;  // by the main thread, for the next block
    std::array<float, parameterCount> latest_{};  // reported values

    std::array<float*, 2> input_{}, output_{};
    clap_audio_buffer_t inputs_{input_.data(), nullptr, 2, 0, 0};
    clap_audio_buffer_t outputs_{output_.data(), nullptr, 2, 0, 0};
    clap_process_t block_{-1, 0, nullptr, &inputs_, &outputs_, 1, 1, &host_.in, &host_.out};
};

/// Names of the presets that a host's indexer finds inside the plug-in.
std::vector<std::string> indexedPresets() {
    namespace abi = hosts::clap::abi;
    std::vector<std::string> names;
    abi::PresetIndexer indexer{};
    indexer.declare_filetype = [](const abi::PresetIndexer*, const abi::PresetFileType*) {
        return true;
    };
    indexer.declare_location = [](const abi::PresetIndexer*, const abi::PresetPlace* place) {
        return place->kind == abi::inPlugin || place->location[0] == '/';
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
    receiver.set_description = [](const abi::PresetReceiver*, const char*) {};
    const auto& presets = clapFactory<abi::PresetFactory>(abi::presetDiscovery);
    const auto* provider =
        presets.create(&presets, &indexer, presets.get_descriptor(&presets, 0)->id);
    if (!provider->init(provider) ||
        !provider->get_metadata(provider, abi::inPlugin, nullptr, &receiver))
        throw std::runtime_error("the presets are not listed");
    provider->destroy(provider);
    return names;
}

PluginDescription describe() {
    const auto& plugins = clapFactory<clap_plugin_factory_t>(CLAP_PLUGIN_FACTORY_ID);
    if (plugins.get_plugin_count(&plugins) != 1) throw std::runtime_error("not one plug-in");
    const auto& about = *plugins.get_plugin_descriptor(&plugins, 0);
    PluginDescription description{about.name, about.vendor, about.version, indexedPresets(), {}, 0,
                                  0};

    // An instance describes its parameters and ports.
    const ClapTestHost host;
    const auto* ports = host.extension<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    for (const bool isInput : {true, false})
        for (uint32_t port = 0; port < ports->count(host.plugin, isInput); ++port) {
            clap_audio_port_info_t info{};
            if (!ports->get(host.plugin, port, isInput, &info)) throw std::runtime_error("no port");
            (isInput ? description.inputs : description.outputs) +=
                static_cast<int>(info.channel_count);
        }
    const auto* params = host.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    for (uint32_t index = 0; index < params->count(host.plugin); ++index) {
        clap_param_info_t info{};
        if (!params->get_info(host.plugin, index, &info)) throw std::runtime_error("no parameter");
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
    return description;
}

const bool registered = Format::add<ClapPlugin>("CLAP", {}, describe);

}  // namespace
}  // namespace qov::test
