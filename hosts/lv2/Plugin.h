#pragma once

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hosts/instance/Instance.h"
#include "hosts/lv2/ControlPorts.h"
#include "hosts/lv2/Messages.h"

namespace qov::hosts::lv2 {

/// The effect as an LV2 host sees it. Threads are LV2's: run() belongs to the audio thread, the
/// editor's functions to the editor's, save() to any; all else while nothing is processed.
///
/// Without urid:map the effect runs without messages and without a state.
///
/// State. A host saves the control ports itself. The effect saves the state of its instance, which
/// a message may have set past the ports, and the values of the ports at that time. After a restore
/// only a port whose value differs from the saved one sets its parameter. Without a state of the
/// effect (a preset made of ports alone) every port sets its parameter.
class Plugin {
 public:
    /// A plug-in with all its ports unconnected. Null, with a line about why in *error.
    static std::unique_ptr<Plugin> create(double sampleRate, const LV2_Feature* const* features,
                                          std::string* error);
    /// The live plug-in of a handle; null for another address.
    static Plugin* find(const void* handle);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    void connect(std::uint32_t port, void* memory);
    void activate();
    void run(std::uint32_t frames);
    void deactivate() { instance_->deactivate(); }

    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle) const;
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

    // For the editor

    Instance& instance() { return *instance_; }
    ControlPorts& controls() { return controls_; }
    /// Set while an editor is open: called when the plug-in is deleted before it.
    std::function<void()> onDelete;
    /// To be called in every idle call: checks whether blocks are processed.
    void watch();
    /// A port's value that the host sends to the editor. Ignored while blocks are processed, as the
    /// port itself then brings it, in its order; else (after an undo) it sets the parameter.
    void portChanged(std::uint64_t address, float port);

 private:
    Plugin(double sampleRate, std::uint32_t longestBlock, std::unique_ptr<Instance> instance,
           LV2_URID_Map* map);

    const double sampleRate_;
    const std::uint32_t longestBlock_;
    const std::unique_ptr<Instance> instance_;
    std::optional<Messages> messages_;  // empty without urid:map

    const float* in_[2] = {};
    float* out_[2] = {};
    float* latency_ = nullptr;
    const LV2_Atom_Sequence* events_ = nullptr;
    LV2_Atom_Sequence* notify_ = nullptr;
    ControlPorts controls_;

    std::atomic<bool> hasRun_{false};
    int idleCalls_ = 0;  // since it last ran, up to standingStill
};

}  // namespace qov::hosts::lv2
