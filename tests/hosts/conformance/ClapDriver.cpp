// The CLAP plug-in, driven by a host with timers and descriptors.

#include <clap/ext/audio-ports.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "audiounit/parameters.h"
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

    void reset() override { plugin_->reset(plugin_); }
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
            if (event.header.flags & CLAP_EVENT_DONT_RECORD) continue;
            if (event.header.type == CLAP_EVENT_PARAM_VALUE) {
                const auto value = static_cast<float>(event.value.value);
                edits.push_back({Kind::value, event.value.param_id, value});
                continue;
            }
            const bool begins = event.header.type == CLAP_EVENT_PARAM_GESTURE_BEGIN;
            edits.push_back({begins ? Kind::begin : Kind::end, event.gesture.param_id, 0});
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
    bool start(double sampleRate, std::uint32_t longestBlock) override {
        rate_ = sampleRate;
        longest_ = longestBlock;
        return plugin_->activate(plugin_, sampleRate, 1, longestBlock) &&
               plugin_->start_processing(plugin_);
    }
    void stop() override {
        plugin_->stop_processing(plugin_);
        plugin_->deactivate(plugin_);
    }
    void setUp(const std::vector<AURenderEvent>& pending,
               std::span<const AURenderEvent> events) override {
        host_.sent.clear();
        std::ranges::transform(pending, std::back_inserter(host_.sent), clapEvent);
        std::ranges::transform(events, std::back_inserter(host_.sent), clapEvent);
        block_.frames_count = frames_;
    }
    void runInactive() override { params_->flush(plugin_, &host_.in, &host_.out); }

    ClapTestHost host_;
    const clap_plugin_t* plugin_ = host_.plugin;
    const clap_plugin_params_t* params_ = host_.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    const clap_plugin_state_t* state_ = host_.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    const clap_plugin_gui_t* gui_ = host_.gui();
    double rate_ = 0;
    std::uint32_t longest_ = 0;
    clap_audio_buffer_t inputs_{input_, nullptr, 2, 0, 0};
    clap_audio_buffer_t outputs_{output_, nullptr, 2, 0, 0};
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
