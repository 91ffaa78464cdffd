#include <clap/ext/note-ports.h>
#include <clap/plugin-factory.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "dsp/ParameterAddress.h"
#include "hosts/instance/product.h"
#include "tests/hosts/clap/TestHost.h"
#include "tests/hosts/window/Screen.h"

namespace qov::test {
namespace {

using testing::ElementsAre;

clap_event_param_value_t valueEvent(std::uint32_t frame, clap_id parameter, double value) {
    return {{sizeof(clap_event_param_value_t), frame, CLAP_CORE_EVENT_SPACE_ID,
             CLAP_EVENT_PARAM_VALUE, 0},
            parameter,
            nullptr,
            -1,
            -1,
            -1,
            -1,
            value};
}

/// A host's list of input events.
template <class Event>
struct InputList {
    std::vector<Event> events;
    const clap_input_events_t list{
        this,
        [](const clap_input_events_t* from) {
            return static_cast<uint32_t>(static_cast<InputList*>(from->ctx)->events.size());
        },
        [](const clap_input_events_t* from, uint32_t index) -> const clap_event_header_t* {
            return &static_cast<InputList*>(from->ctx)->events[index].header;
        }};
};

/// A plug-in in a host, with blocks of silence.
struct Plugged {
    explicit Plugged(bool hasLoops = true) : host(hasLoops) {
        static const ClapBinary binary(BINARY);
        const auto* factory = binary.factory<clap_plugin_factory_t>(CLAP_PLUGIN_FACTORY_ID);
        plugin = factory->create_plugin(factory, &host.table, hosts::product::identifier);
        if (!plugin || !plugin->init(plugin)) throw std::runtime_error("no plug-in");
    }
    ~Plugged() { plugin->destroy(plugin); }

    template <class Extension>
    const Extension* extension(const char* id) const {
        return ClapTestHost::extension<Extension>(plugin, id);
    }
    const clap_plugin_gui_t* gui() const { return extension<clap_plugin_gui_t>(CLAP_EXT_GUI); }
    std::uint32_t latency() const {
        return extension<clap_plugin_latency_t>(CLAP_EXT_LATENCY)->get(plugin);
    }
    clap_process_status process(const clap_input_events_t* in) {
        clap_audio_buffer_t buffer{channels.data(), nullptr, 2, 0, 3};
        const clap_process_t block{-1, 64, nullptr, &buffer, &buffer, 1, 1, in, &out};
        return plugin->process(plugin, &block);
    }

    ClapTestHost host;
    const clap_plugin_t* plugin = nullptr;
    std::vector<float> memory = std::vector<float>(128);
    std::array<float*, 2> channels{memory.data(), memory.data() + 64};

    /// What the plug-in told: type, flags and value of each event, as far as there is room.
    std::size_t room = 1000;
    std::vector<std::tuple<int, int, double>> told;
    const clap_output_events_t out{
        this, [](const clap_output_events_t* list, const clap_event_header_t* event) {
            auto& self = *static_cast<Plugged*>(list->ctx);
            if (self.room == 0) return false;
            --self.room;
            const bool hasValue = event->type == CLAP_EVENT_PARAM_VALUE;
            self.told.emplace_back(
                event->type, event->flags,
                hasValue ? reinterpret_cast<const clap_event_param_value_t*>(event)->value : -1);
            return true;
        }};
};

TEST(ClapPlugin, ChangesItsLatencyAcrossARestartThatItAsksForOnce) {
    Plugged plugged;
    auto* plugin = plugged.plugin;
    InputList<clap_event_param_value_t> bypass{{valueEvent(5, kBypass, 1)}};
    ASSERT_TRUE(plugin->activate(plugin, 48000, 1, 64));
    EXPECT_EQ(plugged.process(&bypass.list), CLAP_PROCESS_TAIL);
    EXPECT_EQ(plugged.latency(), 2048U) << "constant while active";
    EXPECT_TRUE(plugged.host.callback.exchange(false));
    plugged.process(nullptr);
    EXPECT_FALSE(plugged.host.callback) << "asked already";
    plugin->on_main_thread(plugin);
    EXPECT_TRUE(plugged.host.restart.exchange(false));
    plugged.process(nullptr);
    plugged.host.turnLoops(plugin);
    EXPECT_FALSE(plugged.host.restart || plugged.host.callback) << "a host may take its time";
    plugin->deactivate(plugin);
    EXPECT_EQ(plugged.host.latencyChanges, 0);
    ASSERT_TRUE(plugin->activate(plugin, 48000, 1, 64));
    EXPECT_EQ(plugged.host.latencyChanges, 1);
    EXPECT_EQ(plugged.latency(), 0U);
}

TEST(ClapPlugin, TellsOfControllersWhatIsNotToBeRecorded) {
    Plugged plugged;
    plugged.plugin->activate(plugged.plugin, 48000, 1, 64);
    InputList<clap_event_midi_t> midi;
    for (const std::uint8_t controller : {7, 10, 11, 12})
        midi.events.push_back(
            {{sizeof(clap_event_midi_t), controller, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_MIDI, 0},
             0,
             {0xb4, controller, 127}});
    plugged.process(&midi.list);
    constexpr std::tuple full{int{CLAP_EVENT_PARAM_VALUE}, int{CLAP_EVENT_DONT_RECORD}, 1.0};
    EXPECT_THAT(plugged.told, ElementsAre(full, full)) << "panorama and width";
}

TEST(ClapPlugin, SurvivesBuffersThatAreNotThere) {
    Plugged plugged;
    auto* plugin = plugged.plugin;
    plugin->activate(plugin, 48000, 1, 64);
    float* none[2] = {nullptr, nullptr};
    double* doubles[2] = {nullptr, nullptr};
    clap_audio_buffer_t empty{none, nullptr, 2, 0, 0},
        single{plugged.channels.data(), nullptr, 1, 0, 0}, wide{nullptr, doubles, 2, 0, 0},
        absent{};
    for (auto* in : {&empty, &single, &absent, static_cast<clap_audio_buffer_t*>(nullptr)})
        for (auto* out : {&empty, &single, &wide, &absent}) {
            const clap_process_t block{-1, 64, nullptr, in, out, in ? 1U : 0U, 1, nullptr, nullptr};
            EXPECT_EQ(plugin->process(plugin, &block),
                      out == &wide ? CLAP_PROCESS_ERROR : CLAP_PROCESS_TAIL);
        }
    const clap_process_t nothing{};
    EXPECT_EQ(plugin->process(plugin, &nothing), CLAP_PROCESS_TAIL);
}

TEST(ClapPlugin, RefusesCallsThatLackAnArgument) {
    Plugged plugged;
    const auto* plugin = plugged.plugin;
    const auto* gui = plugged.gui();
    const auto* params = plugged.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    const auto* state = plugged.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    const auto* notes = plugged.extension<clap_plugin_note_ports_t>(CLAP_EXT_NOTE_PORTS);
    double value = 0;
    for (const bool went :
         {params->get_info(plugin, 0, nullptr), params->get_value(plugin, 0, nullptr),
          params->value_to_text(plugin, 0, 1, nullptr, 9),
          params->text_to_value(plugin, 0, nullptr, &value),
          params->text_to_value(plugin, 0, "1", nullptr), state->save(plugin, nullptr),
          state->load(plugin, nullptr), notes->get(plugin, 0, true, nullptr),
          gui->set_parent(plugin, nullptr), gui->set_transient(plugin, nullptr),
          gui->get_size(plugin, nullptr, nullptr), gui->adjust_size(plugin, nullptr, nullptr),
          gui->get_resize_hints(plugin, nullptr), plugin->process(plugin, nullptr) != 0})
        EXPECT_FALSE(went);
}

TEST(ClapPlugin, LoadsItsPresetsAndRefusesOthers) {
    Plugged plugged;
    const auto* presets =
        plugged.extension<hosts::clap::abi::PluginPresetLoad>(hosts::clap::abi::presetLoad);
    const auto load = [&](const char* key) {
        return presets->from_location(plugged.plugin, hosts::clap::abi::inPlugin, nullptr, key);
    };
    EXPECT_TRUE(load("2"));
    EXPECT_EQ(plugged.host.loadedPreset, "2");
    EXPECT_EQ(plugged.host.rescans, 1);
    EXPECT_EQ(plugged.host.dirt, 1);
    for (const char* wrong : {"3", "-1", "", "2x", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(load(wrong));
    EXPECT_NE(plugged.host.presetError, "");
}

/// A floating editor in a host whose main thread does what it is asked to.
class ClapEditor : public testing::Test {
 protected:
    static bool until(Plugged& plugged, const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(15);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            plugged.host.turnLoops(plugged.plugin);
            if (plugged.host.callback.exchange(false))
                plugged.plugin->on_main_thread(plugged.plugin);
        }
        return true;
    }
    Screen screen_;
};

TEST_F(ClapEditor, FloatsAndIsClosedInHostsWithATimerAlone) {
    const Plugged without(false);
    EXPECT_FALSE(without.gui()->create(without.plugin, nullptr, true));
    {
        Plugged plugged;
        const auto* plugin = plugged.plugin;
        const auto* gui = plugged.gui();
        const clap_window_t above{.api = CLAP_WINDOW_API_X11, .x11 = Screen::makeWindow(9, 9)};
        ASSERT_TRUE(gui->create(plugin, nullptr, true));
        EXPECT_TRUE(gui->set_transient(plugin, &above));
        gui->suggest_title(plugin, "Bus 7");
        ASSERT_TRUE(gui->show(plugin));
        Screen::xdo("search --sync --name ^Bus.7$");
        ASSERT_TRUE(until(plugged, [] { return Screen::pixel(340, 220) != 0; })) << "it draws";

        // Half a gesture fits into the host's list, then the rest.
        plugged.plugin->activate(plugin, 48000, 1, 64);
        plugged.room = 1;
        Screen::xdo("mousemove 60 91 click 1");
        ASSERT_TRUE(until(plugged, [&] { return plugged.host.flush.load(); }));
        plugged.process(nullptr);
        EXPECT_EQ(plugged.told.size(), 1U);
        plugged.room = 9;
        ASSERT_TRUE(until(plugged, [&] {
            plugged.process(nullptr);
            return plugged.told.size() == 3;
        }));
        constexpr int live = CLAP_EVENT_IS_LIVE;
        EXPECT_THAT(plugged.told, ElementsAre(std::tuple(CLAP_EVENT_PARAM_GESTURE_BEGIN, live, -1),
                                              std::tuple(CLAP_EVENT_PARAM_VALUE, live, 1),
                                              std::tuple(CLAP_EVENT_PARAM_GESTURE_END, live, -1)));

        Screen::pressCloseButton();
        EXPECT_TRUE(until(plugged, [&] { return plugged.host.closed; }));
        EXPECT_FALSE(plugged.host.wasDestroyed);
        ASSERT_TRUE(gui->show(plugin)) << "once more";
        gui->destroy(plugin);
        EXPECT_TRUE(plugged.host.descriptors.empty());
    }
}

TEST_F(ClapEditor, SaysItsSizeInPixelsAndKeepsItsProportions) {
    Plugged plugged;
    const auto* plugin = plugged.plugin;
    const auto* gui = plugged.gui();
    ASSERT_TRUE(gui->create(plugin, CLAP_WINDOW_API_X11, false));
    EXPECT_FALSE(gui->create(plugin, CLAP_WINDOW_API_X11, false));
    ASSERT_TRUE(gui->set_scale(plugin, 2));
    EXPECT_FALSE(gui->set_scale(plugin, -1));
    uint32_t width = 0, height = 0;
    ASSERT_TRUE(gui->get_size(plugin, &width, &height));
    EXPECT_EQ(std::pair(width, height), std::pair(1360U, 880U));
    const std::array<std::array<uint32_t, 4>, 4> sizes{{{1700, 1100, 1700, 1100},
                                                        {1700, 5000, 1700, 1100},
                                                        {5000, 660, 1020, 660},
                                                        {1, 1, 340, 220}}};
    for (auto [askedWidth, askedHeight, fitWidth, fitHeight] : sizes) {
        ASSERT_TRUE(gui->adjust_size(plugin, &askedWidth, &askedHeight));
        EXPECT_EQ(std::pair(askedWidth, askedHeight), std::pair(fitWidth, fitHeight));
    }
    clap_gui_resize_hints_t hints{};
    ASSERT_TRUE(gui->get_resize_hints(plugin, &hints));
    EXPECT_TRUE(gui->can_resize(plugin) && hints.preserve_aspect_ratio);
    EXPECT_EQ(hints.aspect_ratio_width * 11, hints.aspect_ratio_height * 17);
    EXPECT_FALSE(gui->show(plugin)) << "no place yet";
    EXPECT_TRUE(gui->set_size(plugin, 680, 440));
    const clap_window_t parent{.api = CLAP_WINDOW_API_X11, .x11 = Screen::makeWindow(680, 440)};
    EXPECT_TRUE(gui->set_parent(plugin, &parent) && gui->show(plugin));
    EXPECT_TRUE(until(plugged, [] { return Screen::pixel(340, 220) != 0; }));
    ASSERT_TRUE(gui->get_size(plugin, &width, &height));
    EXPECT_EQ(std::pair(width, height), std::pair(680U, 440U));
}

}  // namespace
}  // namespace qov::test
