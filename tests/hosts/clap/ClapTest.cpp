#include <clap/ext/note-ports.h>

#include <array>
#include <fstream>
#include <functional>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "dsp/ParameterAddress.h"
#include "tests/hosts/clap/TestHost.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/TemporaryFolder.h"

namespace qov::test {
namespace {

using testing::ElementsAre;

/// A host that processes blocks of silence in place.
struct Host : ClapTestHost {
    using ClapTestHost::ClapTestHost;

    bool activate() { return plugin->activate(plugin, 48000, 1, 64); }
    clap_process_status process(std::vector<ClapEvent> events = {}) {
        sent = std::move(events);
        clap_audio_buffer_t buffer{channels.data(), nullptr, 2, 0, 3};
        const clap_process_t block{-1, 64, nullptr, &buffer, &buffer, 1, 1, &in, &out};
        return plugin->process(plugin, &block);
    }
    /// Type, flags and value of each event, -1 for an event without a value.
    std::vector<std::tuple<int, int, double>> outputs() const {
        std::vector<std::tuple<int, int, double>> all;
        for (const auto& event : received)
            all.emplace_back(event.header.type, event.header.flags,
                             event.header.type == CLAP_EVENT_PARAM_VALUE ? event.value.value : -1);
        return all;
    }
    bool until(const std::function<bool()>& condition) {
        return test::until(condition, [this] {
            usleep(2000);
            turnLoop();
        });
    }

    std::vector<float> memory = std::vector<float>(128);
    std::array<float*, 2> channels{memory.data(), memory.data() + 64};
};

TEST(ClapPlugin, ChangesItsLatencyAcrossOneRequestedRestart) {
    Host host;
    ASSERT_TRUE(host.activate());
    EXPECT_EQ(host.process({clapEvent(parameterEvent(5, kBypass, 1))}), CLAP_PROCESS_TAIL);
    EXPECT_EQ(host.latency(), 2048U) << "constant while active";
    EXPECT_TRUE(host.callback.exchange(false));
    host.process();
    EXPECT_FALSE(host.callback) << "requested already";
    host.plugin->on_main_thread(host.plugin);
    EXPECT_TRUE(host.restart.exchange(false));
    host.process();
    host.turnLoop();
    EXPECT_FALSE(host.restart || host.callback) << "a host may restart it later";
    host.plugin->deactivate(host.plugin);
    EXPECT_EQ(host.latencyChanges, 0);
    ASSERT_TRUE(host.activate());
    EXPECT_EQ(host.latencyChanges, 1);
    EXPECT_EQ(host.latency(), 0U);
}

TEST(ClapPlugin, ReportsControllersAsValuesThatAreNotToBeRecorded) {
    Host host;
    host.activate();
    std::vector<ClapEvent> events;
    for (const std::uint8_t controller : {7, 10, 11, 12})
        events.push_back(clapEvent(midiEvent(controller, 0xb4, controller, 127)));
    host.process(events);
    constexpr std::tuple full{int{CLAP_EVENT_PARAM_VALUE}, int{CLAP_EVENT_DONT_RECORD}, 1.0};
    EXPECT_THAT(host.outputs(), ElementsAre(full, full)) << "panorama and width";
}

TEST(ClapPlugin, ProcessesWithMissingBuffers) {
    Host host;
    host.activate();
    float* none[2] = {nullptr, nullptr};
    double* doubles[2] = {nullptr, nullptr};
    clap_audio_buffer_t empty{none, nullptr, 2, 0, 0},
        single{host.channels.data(), nullptr, 1, 0, 0}, wide{nullptr, doubles, 2, 0, 0}, absent{};
    for (auto* in : {&empty, &single, &absent, static_cast<clap_audio_buffer_t*>(nullptr)})
        for (auto* out : {&empty, &single, &wide, &absent}) {
            const clap_process_t block{-1, 64, nullptr, in, out, in ? 1U : 0U, 1, nullptr, nullptr};
            EXPECT_EQ(host.plugin->process(host.plugin, &block),
                      out == &wide ? CLAP_PROCESS_ERROR : CLAP_PROCESS_TAIL);
        }
    const clap_process_t nothing{};
    EXPECT_EQ(host.plugin->process(host.plugin, &nothing), CLAP_PROCESS_TAIL);
}

TEST(ClapPlugin, RefusesCallsThatLackAnArgument) {
    const Host host;
    const auto* plugin = host.plugin;
    const auto* gui = host.gui();
    const auto* params = host.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    const auto* state = host.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    const auto* notes = host.extension<clap_plugin_note_ports_t>(CLAP_EXT_NOTE_PORTS);
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
    namespace abi = hosts::clap::abi;
    const Host host;
    const auto* presets = host.extension<abi::PluginPresetLoad>(abi::presetLoad);
    const auto load = [&](const char* key) {
        return presets->from_location(host.plugin, abi::inPlugin, nullptr, key);
    };
    EXPECT_TRUE(load("12"));
    EXPECT_EQ(host.loadedPreset, "12");
    EXPECT_EQ(std::pair(host.rescans, host.dirt), std::pair(1, 1));
    for (const char* wrong : {"15", "-1", "", "2x", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(load(wrong));
    EXPECT_NE(host.presetError, "");
    // A user's file.
    const TemporaryFolder folder;
    const auto loadFile = [&](const char* text) {
        std::ofstream(folder / "mine.kelvane") << text;
        return presets->from_location(host.plugin, abi::inFile, (folder / "mine.kelvane").c_str(),
                                      "");
    };
    EXPECT_TRUE(loadFile("# mine\npanorama L30\n"));
    double panorama = 0;
    host.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS)
        ->get_value(host.plugin, kPanorama, &panorama);
    EXPECT_EQ(panorama, 0.35F);
    EXPECT_FALSE(loadFile("panorama L300\n"));
    EXPECT_EQ(host.presetError, "line 1: panorama does not take 'L300'");
}

TEST(ClapEditor, FloatsAndIsClosedInHostsWithATimerAlone) {
    const Screen screen;
    const Host without(CLAP_EXT_TIMER_SUPPORT);
    EXPECT_FALSE(without.gui()->create(without.plugin, nullptr, true));
    Host host;
    const auto* plugin = host.plugin;
    const auto* gui = host.gui();
    const clap_window_t above{.api = CLAP_WINDOW_API_X11, .x11 = Screen::makeWindow(9, 9)};
    ASSERT_TRUE(gui->create(plugin, nullptr, true));
    EXPECT_TRUE(gui->set_transient(plugin, &above));
    gui->suggest_title(plugin, "Bus 7");
    ASSERT_TRUE(gui->show(plugin));
    Screen::xdo("search --sync --name ^Bus.7$");
    ASSERT_TRUE(host.until([] { return Screen::pixel(340, 220) != 0; })) << "it draws";

    // The first event of a gesture fits into the host's list, then the rest.
    host.activate();
    host.room = 1;
    Screen::xdo("mousemove 60 91 click 1");
    ASSERT_TRUE(host.until([&] { return host.flush.load(); }));
    host.process();
    EXPECT_EQ(host.received.size(), 1U);
    host.room = 9;
    ASSERT_TRUE(host.until([&] { return host.process(), host.received.size() == 3; }));
    constexpr int live = CLAP_EVENT_IS_LIVE;
    EXPECT_THAT(host.outputs(), ElementsAre(std::tuple(CLAP_EVENT_PARAM_GESTURE_BEGIN, live, -1),
                                            std::tuple(CLAP_EVENT_PARAM_VALUE, live, 1),
                                            std::tuple(CLAP_EVENT_PARAM_GESTURE_END, live, -1)));

    Screen::pressCloseButton();
    EXPECT_TRUE(host.until([&] { return host.closed.has_value(); }));
    EXPECT_FALSE(*host.closed);
    ASSERT_TRUE(gui->show(plugin)) << "once more";
    gui->destroy(plugin);
    EXPECT_TRUE(host.descriptors.empty());
}

TEST(ClapEditor, HasItsSizeInPixelsAndKeepsItsProportions) {
    const Screen screen;
    const Host host;
    const auto* plugin = host.plugin;
    const auto* gui = host.gui();
    uint32_t width = 0, height = 0;
    ASSERT_TRUE(gui->create(plugin, CLAP_WINDOW_API_X11, false));
    EXPECT_FALSE(gui->create(plugin, CLAP_WINDOW_API_X11, false));
    ASSERT_TRUE(gui->set_scale(plugin, 2));
    EXPECT_FALSE(gui->set_scale(plugin, -1));
    EXPECT_TRUE(gui->get_size(plugin, &width, &height));
    EXPECT_EQ(std::pair(width, height), std::pair(1360U, 1072U));
    height = 5000;
    ASSERT_TRUE(gui->adjust_size(plugin, &width, &height));
    EXPECT_EQ(std::pair(width, height), std::pair(1360U, 1072U));
    clap_gui_resize_hints_t hints{};
    ASSERT_TRUE(gui->get_resize_hints(plugin, &hints));
    EXPECT_TRUE(gui->can_resize(plugin) && hints.preserve_aspect_ratio);
    EXPECT_EQ(hints.aspect_ratio_width * 67, hints.aspect_ratio_height * 85);
    EXPECT_FALSE(gui->show(plugin)) << "it has no parent yet";
}

}  // namespace
}  // namespace qov::test
