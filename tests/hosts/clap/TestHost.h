#pragma once

#include <clap/entry.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/timer-support.h>
#include <clap/host.h>
#include <dlfcn.h>
#include <poll.h>

#include <atomic>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "hosts/clap/abi.h"

namespace qov::test {

/// The binary of the CLAP plug-in, open as long as the process.
class ClapBinary {
 public:
    explicit ClapBinary(const std::string& path) {
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!library) throw std::runtime_error(dlerror());
        entry = static_cast<const clap_plugin_entry_t*>(dlsym(library, "clap_entry"));
        if (!entry || !entry->init(path.c_str())) throw std::runtime_error("no CLAP entry");
    }

    template <class Factory>
    const Factory* factory(const char* id) const {
        return static_cast<const Factory*>(entry->get_factory(id));
    }

    const clap_plugin_entry_t* entry;
};

/// A CLAP host around one plug-in. It notes what the plug-in asks for, and does it when told to.
class ClapTestHost {
 public:
    /// Without loops, the plug-in gets neither timers nor descriptors.
    explicit ClapTestHost(bool hasLoops = true) : hasLoops_(hasLoops) {}

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

    // Asked for, by any thread
    std::atomic<bool> restart{false}, callback{false}, flush{false};
    // Main thread
    int rescans = 0, dirt = 0, latencyChanges = 0;
    bool closed = false, wasDestroyed = false;
    std::set<clap_id> timers;
    std::map<int, std::uint32_t> descriptors;
    std::string loadedPreset, presetError;

    /// Timers and descriptors, once.
    void turnLoops(const clap_plugin_t* plugin) const {
        const auto* onTimer =
            extension<clap_plugin_timer_support_t>(plugin, CLAP_EXT_TIMER_SUPPORT);
        const auto* onFd = extension<hosts::clap::abi::PluginPosixFdSupport>(
            plugin, hosts::clap::abi::posixFdSupport);
        for (const auto timer : std::set(timers)) onTimer->on_timer(plugin, timer);
        for (const auto& [descriptor, flags] : std::map(descriptors)) {
            pollfd waiting{descriptor, POLLIN, 0};
            if (poll(&waiting, 1, 0) == 1) onFd->on_fd(plugin, descriptor, flags);
        }
    }

    template <class Extension>
    static const Extension* extension(const clap_plugin_t* plugin, const char* id) {
        const auto* found = static_cast<const Extension*>(plugin->get_extension(plugin, id));
        if (!found) throw std::runtime_error(std::string("the plug-in lacks ") + id);
        return found;
    }

 private:
    static ClapTestHost& of(const clap_host_t* host) {
        return *static_cast<ClapTestHost*>(host->host_data);
    }

    const void* find(const char* id) const {
        static const clap_host_params_t params{
            .rescan = [](const clap_host_t* host, clap_param_rescan_flags) { ++of(host).rescans; },
            .clear = [](const clap_host_t*, clap_id, clap_param_clear_flags) {},
            .request_flush = [](const clap_host_t* host) { of(host).flush = true; }};
        static const clap_host_state_t state{
            .mark_dirty = [](const clap_host_t* host) { ++of(host).dirt; }};
        static const clap_host_latency_t latency{
            .changed = [](const clap_host_t* host) { ++of(host).latencyChanges; }};
        static const clap_host_gui_t gui{
            .resize_hints_changed = [](const clap_host_t*) {},
            .request_resize = [](const clap_host_t*, uint32_t, uint32_t) { return false; },
            .request_show = [](const clap_host_t*) { return false; },
            .request_hide = [](const clap_host_t*) { return false; },
            .closed =
                [](const clap_host_t* host, bool destroyed) {
                    of(host).closed = true;
                    of(host).wasDestroyed = destroyed;
                }};
        static const clap_host_timer_support_t timerSupport{
            .register_timer =
                [](const clap_host_t* host, uint32_t, clap_id* timer) {
                    auto& known = of(host).timers;
                    *timer = known.empty() ? 5 : *known.rbegin() + 1;
                    return known.insert(*timer).second;
                },
            .unregister_timer = [](const clap_host_t* host,
                                   clap_id timer) { return of(host).timers.erase(timer) == 1; }};
        static const hosts::clap::abi::HostPosixFdSupport fdSupport{
            .register_fd =
                [](const clap_host_t* host, int fd, uint32_t flags) {
                    return of(host).descriptors.emplace(fd, flags).second;
                },
            .modify_fd = [](const clap_host_t*, int, uint32_t) { return false; },
            .unregister_fd = [](const clap_host_t* host,
                                int fd) { return of(host).descriptors.erase(fd) == 1; }};
        static const hosts::clap::abi::HostPresetLoad presetLoad{
            .on_error = [](const clap_host_t* host, uint32_t, const char*, const char*, int32_t,
                           const char* message) { of(host).presetError = message; },
            .loaded = [](const clap_host_t* host, uint32_t, const char*,
                         const char* key) { of(host).loadedPreset = key; }};
        const auto is = [id](const char* name) { return std::strcmp(id, name) == 0; };
        if (is(CLAP_EXT_PARAMS)) return &params;
        if (is(CLAP_EXT_STATE)) return &state;
        if (is(CLAP_EXT_LATENCY)) return &latency;
        if (is(CLAP_EXT_GUI)) return &gui;
        if (is(hosts::clap::abi::presetLoad)) return &presetLoad;
        if (hasLoops_ && is(CLAP_EXT_TIMER_SUPPORT)) return &timerSupport;
        if (hasLoops_ && is(hosts::clap::abi::posixFdSupport)) return &fdSupport;
        return nullptr;
    }

    const bool hasLoops_;
};

}  // namespace qov::test
