#pragma once

#include <lv2/atom/forge.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hosts/instance/EditExchange.h"
#include "hosts/lv2/Ports.h"
#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::test {

/// Numbers for URIs, as a host hands them out. Any thread.
class UridMap {
 public:
    LV2_URID operator[](const std::string& uri);
    std::string uri(LV2_URID number);
    LV2_URID_Map* feature() { return &feature_; }

 private:
    std::mutex mutex_;
    std::map<std::string, LV2_URID> numbers_;
    LV2_URID_Map feature_{this, [](LV2_URID_Map_Handle self, const char* uri) {
                              return (*static_cast<UridMap*>(self))[uri];
                          }};
};

/// A patch message, or what the plug-in answered.
struct Patch {
    std::string kind{};                     // "Set", "Put", "Get"
    std::map<std::string, float> values{};  // by the parameter's URI
    std::string property{};                 // of a question; empty for all
    int sequenceNumber = 0;
};

/// An LV2 host's side of one plug-in: memory for every port, features, state. One audio thread, one
/// main thread, as the format has it; the controls belong to the audio thread.
class Lv2Host {
 public:
    struct Options {
        double rate = 48000;
        bool hasMap = true;
    };
    /// Instantiates; handle() is null where the plug-in refuses. The descriptor outlives the host.
    Lv2Host(const LV2_Descriptor& descriptor, const Options& options);
    ~Lv2Host();
    Lv2Host(const Lv2Host&) = delete;
    Lv2Host& operator=(const Lv2Host&) = delete;

    LV2_Handle handle() const { return handle_; }
    void activate() { descriptor_.activate(handle_); }
    void deactivate() { descriptor_.deactivate(handle_); }
    /// Destroys the plug-in, whoever still uses it.
    void destroy();

    std::array<float, parameterCount> controls;
    float latency = -1;

    void connectAudio(const float* const (&input)[2], float* const (&output)[2]);
    /// Messages of the next run(), in this order; parameters go as patch:Set.
    void send(std::span<const platform::AURenderEvent> events);
    void send(const Patch& patch, std::uint32_t frame);
    /// The sequence as it was sent, with its head.
    std::vector<std::uint8_t> messageBytes() const;
    /// Another sequence in its place, as it is.
    void connectMessages(void* sequence) {
        descriptor_.connect_port(handle_, hosts::lv2::eventsPort, sequence);
    }
    /// Allocates nothing.
    void run(std::uint32_t frames) { descriptor_.run(handle_, frames); }
    /// What the plug-in has written in the last run(); prepares the port for the next one.
    std::vector<Patch> takeAnswers();

    /// Properties by their URIs.
    using State = std::map<std::string, std::string>;
    State save();
    bool restore(const State& state);

    UridMap& urids() { return urids_; }

 private:
    void beginSequence();

    const LV2_Descriptor& descriptor_;
    UridMap urids_;
    std::vector<std::string> parameters_;  // URIs by address
    LV2_Handle handle_ = nullptr;
    LV2_Atom_Forge forge_{};
    LV2_Atom_Forge_Frame sequence_{};
    std::vector<std::uint64_t> messages_, notify_;
};

/// The host's side of an editor: it writes into the plug-in's controls at once.
class Lv2EditorHost {
 public:
    struct Options {
        std::uint64_t parent = 0;
        bool hasInstance = true;
    };
    Lv2EditorHost(const LV2UI_Descriptor& descriptor, Lv2Host& host, const Options& options);
    ~Lv2EditorHost();
    Lv2EditorHost(const Lv2EditorHost&) = delete;
    Lv2EditorHost& operator=(const Lv2EditorHost&) = delete;

    bool isOpen() const { return handle_ != nullptr; }
    std::uint64_t window() const { return reinterpret_cast<std::uintptr_t>(widget_); }
    /// False once the user has closed it.
    bool idle();
    bool show();
    bool resize(int width, int height);
    void close();

    /// What it has told since, in the parameters' sense.
    std::vector<hosts::EditExchange::Edit> edits;
    /// Called with a port's new value, in the port's sense; writes it at once if empty.
    std::function<void(std::uint64_t address, float port)> onWrite;
    int width = 0, height = 0;  // asked for

 private:
    void write(std::uint32_t port, float value);
    void touch(std::uint32_t port, bool isDown);

    const LV2UI_Descriptor& descriptor_;
    Lv2Host& host_;
    std::array<float, parameterCount> written_{};  // by address
    LV2UI_Resize resize_{this, [](LV2UI_Feature_Handle self, int wide, int high) {
                             static_cast<Lv2EditorHost*>(self)->width = wide;
                             static_cast<Lv2EditorHost*>(self)->height = high;
                             return 0;
                         }};
    LV2UI_Touch touch_{this, [](LV2UI_Feature_Handle self, std::uint32_t port, bool isDown) {
                           static_cast<Lv2EditorHost*>(self)->touch(port, isDown);
                       }};
    LV2UI_Handle handle_ = nullptr;
    LV2UI_Widget widget_ = nullptr;
};

}  // namespace qov::test
