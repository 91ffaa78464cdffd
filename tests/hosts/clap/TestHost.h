#pragma once

#include <clap/entry.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/host.h>
#include <clap/plugin-factory.h>
#include <dlfcn.h>
#include <poll.h>

#include <atomic>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "hosts/clap/abi.h"
#include "hosts/instance/product.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

/// A factory of the CLAP binary at a path, which stays open as long as the process.
template <class Factory>
const Factory& clapFactory(const char* id, const std::string& path = CLAP_BINARY) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    const auto* entry = static_cast<const clap_plugin_entry_t*>(dlsym(library, "clap_entry"));
    if (!entry || !entry->init(path.c_str())) throw std::runtime_error("no CLAP entry");
    return *static_cast<const Factory*>(entry->get_factory(id));
}

/// One event of any kind in a host's list.
union ClapEvent {
    clap_event_header_t header;
    clap_event_param_value_t value;
    clap_event_param_gesture_t gesture;
    clap_event_midi_t midi;
};

inline ClapEvent clapEvent(const platform::AURenderEvent& from) {
    ClapEvent event{};
    const auto header = [&](std::size_t size, int type) {
        return clap_event_header_t{static_cast<std::uint32_t>(size),
                                   static_cast<std::uint32_t>(from.head.eventSampleTime),
                                   CLAP_CORE_EVENT_SPACE_ID, static_cast<std::uint16_t>(type), 0};
    };
    const auto& data = from.MIDI.data;
    const auto id = static_cast<clap_id>(from.parameter.parameterAddress);
    const double value = from.parameter.value;
    if (isMidi(from))
        event.midi = {header(sizeof event.midi, CLAP_EVENT_MIDI), 0, {data[0], data[1], data[2]}};
    else
        event.value = {
            header(sizeof event.value, CLAP_EVENT_PARAM_VALUE), id, nullptr, -1, -1, -1, -1, value};
    return event;
}

/// A CLAP host with one plug-in. It records the plug-in's requests, which tests fulfil.
class ClapTestHost {
 public:
    /// It lacks one extension where that is named.
    explicit ClapTestHost(std::string lacking = {}) : lacking_(std::move(lacking)) {
        static const auto& factory = clapFactory<clap_plugin_factory_t>(CLAP_PLUGIN_FACTORY_ID);
        plugin = factory.create_plugin(&factory, &table, hosts::product::identifier);
        if (!plugin || !plugin->init(plugin)) throw std::runtime_error("no plug-in");
        received.reserve(room);
    }
    ~ClapTestHost() { plugin->destroy(plugin); }
    ClapTestHost(const ClapTestHost&) = delete;
    ClapTestHost& operator=(const ClapTestHost&) = delete;

    const clap_host_t table{
        .clap_version = CLAP_VERSION,
        .host_data = this,
        .name = "Test",
        .vendor = "",
        .url = "",
        .version = "1",
        .get_extension = [](const clap_host_t* host, const char* id) { return of(host).find(id); },
        .request_restart = [](const clap_host_t* host) { of(host).restart = true; },
        .request_process = [](const clap_host_t*) {},
        .request_callback = [](const clap_host_t* host) { of(host).callback = true; },
    };
    const clap_plugin_t* plugin = nullptr;

    // Requests of the plug-in, from any thread
    std::atomic<bool> restart{false}, callback{false}, flush{false};
    // Main thread
    int rescans = 0, dirt = 0, latencyChanges = 0;
    std::optional<bool> closed;  // and destroyed
    std::set<clap_id> timers;
    std::map<int, std::uint32_t> descriptors;
    std::string loadedPreset, presetError;

    // Of the present block. Output events are received while there is room for them.
    std::vector<ClapEvent> sent, received;
    std::size_t room = 64;
    const clap_input_events_t in{
        this,
        [](const clap_input_events_t* list) {
            return static_cast<std::uint32_t>(of(list).sent.size());
        },
        [](const clap_input_events_t* list, std::uint32_t index) -> const clap_event_header_t* {
            return &of(list).sent[index].header;
        }};
    const clap_output_events_t out{
        this, [](const clap_output_events_t* list, const clap_event_header_t* event) {
            if (of(list).room == 0) return false;
            --of(list).room;
            std::memcpy(&of(list).received.emplace_back(), event, event->size);
            return true;
        }};

    template <class Extension>
    const Extension* extension(const char* id) const {
        const auto* found = static_cast<const Extension*>(plugin->get_extension(plugin, id));
        if (!found) throw std::runtime_error(std::string("the plug-in lacks ") + id);
        return found;
    }
    const clap_plugin_gui_t* gui() const { return extension<clap_plugin_gui_t>(CLAP_EXT_GUI); }
    std::uint32_t latency() const {
        return extension<clap_plugin_latency_t>(CLAP_EXT_LATENCY)->get(plugin);
    }

    /// Timers, descriptors and a requested callback, once.
    void turnLoop() {
        const auto* onTimer = extension<clap_plugin_timer_support_t>(CLAP_EXT_TIMER_SUPPORT);
        const auto* onFd =
            extension<hosts::clap::abi::PluginPosixFdSupport>(hosts::clap::abi::posixFdSupport);
        for (const auto timer : std::set(timers)) onTimer->on_timer(plugin, timer);
        for (const auto& [descriptor, flags] : std::map(descriptors)) {
            pollfd readable{descriptor, POLLIN, 0};
            if (poll(&readable, 1, 0) == 1) onFd->on_fd(plugin, descriptor, flags);
        }
        if (callback.exchange(false)) plugin->on_main_thread(plugin);
    }

 private:
    static ClapTestHost& of(const clap_host_t* host) {
        return *static_cast<ClapTestHost*>(host->host_data);
    }
    template <class List>
    static ClapTestHost& of(const List* list) {
        return *static_cast<ClapTestHost*>(list->ctx);
    }

    const void* find(const char* id) const {
        namespace abi = hosts::clap::abi;
        static const clap_host_params_t params{
            .rescan = [](const clap_host_t* host, clap_param_rescan_flags) { ++of(host).rescans; },
            .clear = nullptr,
            .request_flush = [](const clap_host_t* host) { of(host).flush = true; }};
        static const clap_host_state_t state{
            .mark_dirty = [](const clap_host_t* host) { ++of(host).dirt; }};
        static const clap_host_latency_t latency{
            .changed = [](const clap_host_t* host) { ++of(host).latencyChanges; }};
        static const clap_host_gui_t gui{
            .resize_hints_changed = [](const clap_host_t*) {},
            .request_resize = [](const clap_host_t*, uint32_t, uint32_t) { return true; },
            .request_show = nullptr,
            .request_hide = nullptr,
            .closed = [](const clap_host_t* host, bool destroyed) { of(host).closed = destroyed; }};
        static const clap_host_timer_support_t timerSupport{
            .register_timer =
                [](const clap_host_t* host, uint32_t, clap_id* timer) {
                    auto& known = of(host).timers;
                    *timer = known.empty() ? 5 : *known.rbegin() + 1;
                    return known.insert(*timer).second;
                },
            .unregister_timer = [](const clap_host_t* host,
                                   clap_id timer) { return of(host).timers.erase(timer) == 1; }};
        static const abi::HostPosixFdSupport fdSupport{
            .register_fd =
                [](const clap_host_t* host, int fd, uint32_t flags) {
                    return of(host).descriptors.emplace(fd, flags).second;
                },
            .modify_fd = nullptr,
            .unregister_fd = [](const clap_host_t* host,
                                int fd) { return of(host).descriptors.erase(fd) == 1; }};
        static const abi::HostPresetLoad presetLoad{
            .on_error = [](const clap_host_t* host, uint32_t, const char*, const char*, int32_t,
                           const char* message) { of(host).presetError = message; },
            .loaded = [](const clap_host_t* host, uint32_t, const char*,
                         const char* key) { of(host).loadedPreset = key; }};
        static const std::map<std::string, const void*> all{
            {CLAP_EXT_PARAMS, &params},       {CLAP_EXT_STATE, &state},
            {CLAP_EXT_LATENCY, &latency},     {CLAP_EXT_GUI, &gui},
            {abi::presetLoad, &presetLoad},   {CLAP_EXT_TIMER_SUPPORT, &timerSupport},
            {abi::posixFdSupport, &fdSupport}};
        const auto found = all.find(id);
        return found == all.end() || id == lacking_ ? nullptr : found->second;
    }

    const std::string lacking_;
};

}  // namespace qov::test
