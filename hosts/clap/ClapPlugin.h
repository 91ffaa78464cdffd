#pragma once

#include <clap/plugin.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "hosts/clap/ClapEditor.h"
#include "hosts/clap/ClapHost.h"
#include "hosts/clap/EventOutbox.h"
#include "hosts/instance/Instance.h"
#include "hosts/instance/guarded.h"

namespace qov::hosts::clap {

/// One plug-in of a CLAP host: an instance of the effect behind the format's table of functions.
/// Operations are named after the host's calls, and belong to the threads that the format gives
/// those: process() and flush() of an active plug-in to the audio thread, the rest to the
/// main one.
class ClapPlugin {
 public:
    ClapPlugin(const clap_plugin_descriptor_t* descriptor, const clap_host_t* host);
    ~ClapPlugin();
    ClapPlugin(const ClapPlugin&) = delete;
    ClapPlugin& operator=(const ClapPlugin&) = delete;

    const clap_plugin_t* handle() const { return &handle_; }

    bool init();
    bool activate(double sampleRate, std::uint32_t longestBlock);
    void deactivate();
    clap_process_status process(const clap_process_t& block);
    void flush(const clap_input_events_t* in, const clap_output_events_t* out);

    /// What is due on the instance's run loop, and what the host has to hear after it.
    void turn();

    /// As the host may know it: it changes only while the plug-in is not active.
    std::uint32_t latency();
    /// Frames from the end of the input to that of the output. Any thread.
    std::uint32_t tail() const { return tail_.load(std::memory_order_relaxed); }

    // From init() on

    Instance& instance() { return *instance_; }
    ClapEditor& editor() { return *editor_; }
    const ClapHost& host() const { return host_; }

    /// Runs a host's call on its plug-in. An exception ends here, as `failed`; so does a call
    /// before init().
    template <class Result, class Call>
    static Result call(const clap_plugin_t* plugin, Result failed, Call&& call) {
        auto& self = *static_cast<ClapPlugin*>(plugin->plugin_data);
        return self.editor_ ? guarded(failed, [&]() -> Result { return call(self); }) : failed;
    }

    template <class Call>
    static void run(const clap_plugin_t* plugin, Call&& work) {
        call(plugin, false, [&](ClapPlugin& self) { return work(self), true; });
    }

 private:
    void pushEvents(const clap_input_events_t* events, std::uint32_t frames,
                    const clap_output_events_t* out);
    void noticeLatency();
    void announceLatency();

    clap_plugin_t handle_;
    ClapHost host_;
    std::unique_ptr<Instance> instance_;
    std::unique_ptr<ClapEditor> editor_;
    std::optional<EventOutbox> outbox_;

    std::optional<clap_id> timer_;

    bool isActive_ = false;
    bool restartIsComing_ = false;  // the plug-in has asked for it since activate()
    double sampleRate_ = 0;         // and longest block, of the instance while it is active
    std::uint32_t longestBlock_ = 0;

    std::atomic<std::uint32_t> tail_{0};
    std::atomic<std::uint32_t> latency_{0};         // what the host was told
    std::atomic<bool> hasAskedForCallback_{false};  // on the audio thread, for the latency
    std::atomic<bool> hasAskedForRestart_{false};   // of an active plug-in
};

}  // namespace qov::hosts::clap
