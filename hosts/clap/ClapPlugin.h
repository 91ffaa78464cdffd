#pragma once

#include <clap/ext/state.h>
#include <clap/plugin.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>

#include "hosts/clap/ClapEditor.h"
#include "hosts/clap/ClapHost.h"
#include "hosts/instance/Instance.h"

namespace qov::hosts::clap {

/// One plug-in of a CLAP host: an instance of the effect behind the format's tables of functions
/// (entry). Operations are named after the host's calls and belong to the threads that the format
/// gives those: process() and flush() of an active plug-in to the audio thread, the rest to the
/// main one.
class ClapPlugin {
 public:
    ClapPlugin(const clap_plugin_descriptor_t* descriptor, const clap_host_t* host);
    ~ClapPlugin();
    ClapPlugin(const ClapPlugin&) = delete;
    ClapPlugin& operator=(const ClapPlugin&) = delete;

    const clap_plugin_t* handle() const { return &handle_; }
    /// The plug-in behind a handle, or its editor; null before init().
    template <class Part>
    static Part* find(const clap_plugin_t* plugin) {
        auto& self = *static_cast<ClapPlugin*>(plugin->plugin_data);
        if constexpr (std::is_same_v<Part, ClapEditor>)
            return self.editor_.get();
        else
            return self.editor_ ? &self : nullptr;
    }
    /// The extension of that name; null for an unknown one. Any thread.
    static const void* findExtension(const char* id);

    bool init();
    bool activate(double sampleRate, std::uint32_t shortestBlock, std::uint32_t longestBlock);
    void deactivate();
    void reset() { instance_->reset(); }
    clap_process_status process(const clap_process_t* block);
    void flush(const clap_input_events_t* in, const clap_output_events_t* out);

    /// Runs what is due on the instance's run loop and reports the changes to the host.
    void turn();
    void onTimer(clap_id) { turn(); }
    void onDescriptor(int, std::uint32_t) { turn(); }
    /// Also reports the end of a touch that ends with the editor, as no timer is left.
    void destroyEditor();

    /// In frames. Constant while the plug-in is active.
    std::uint32_t latency();
    /// Frames from the end of the input to that of the output. Any thread.
    std::uint32_t tail() { return tail_.load(std::memory_order_relaxed); }

    bool getValue(clap_id id, double* value);
    bool valueToText(clap_id id, double value, char* text, std::uint32_t size);
    bool textToValue(clap_id id, const char* text, double* value);

    bool save(const clap_ostream_t* stream);
    bool load(const clap_istream_t* stream);
    /// In the plug-in, key is a number in presetBank; a file has one preset, of the user's.
    bool loadPreset(std::uint32_t kind, const char* location, const char* key);

 private:
    void pushEvents(const clap_input_events_t* events, std::uint32_t frames,
                    const clap_output_events_t* out);
    std::string selectPreset(std::uint32_t kind, const char* location, const char* key);
    void reportNewValues();
    void noticeLatency();
    void announceLatency();

    clap_plugin_t handle_;
    ClapHost host_;
    std::unique_ptr<Instance> instance_;
    std::unique_ptr<ClapEditor> editor_;

    std::optional<clap_id> timer_;

    bool isActive_ = false;
    bool restartIsComing_ = false;  // requested since activate()
    double sampleRate_ = 0;         // and longest block, of the instance while it is active
    std::uint32_t longestBlock_ = 0;

    std::atomic<std::uint32_t> tail_{0};
    std::atomic<std::uint32_t> latency_{0};         // reported to the host
    std::atomic<bool> hasAskedForCallback_{false};  // on the audio thread, for the latency
    std::atomic<bool> hasAskedForRestart_{false};   // of an active plug-in
};

namespace detail {

template <class Method>
struct EntryOf;
template <class Part, class Result, class... Arguments>
struct EntryOf<Result (Part::*)(Arguments...)> {
    template <auto method>
    static Result call(const clap_plugin_t* plugin, Arguments... arguments) noexcept {
        try {
            if (auto* part = ClapPlugin::find<Part>(plugin)) return (part->*method)(arguments...);
        } catch (...) {  // none crosses into a host
        }
        return Result();
    }
};

}  // namespace detail

/// A member function of ClapPlugin or ClapEditor as an entry of a table. Returns 0 before init()
/// and where an exception ends the call.
template <auto method>
inline constexpr auto entry = &detail::EntryOf<decltype(method)>::template call<method>;

}  // namespace qov::hosts::clap
