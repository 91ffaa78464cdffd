#pragma once

#include <travesty/audio_processor.h>
#include <travesty/edit_controller.h>
// The order matters to them.
#include <travesty/component.h>
#include <travesty/unit.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "hosts/instance/EditExchange.h"
#include "hosts/instance/Instance.h"
#include "hosts/vst3/Gate.h"
#include "hosts/vst3/HostLoop.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/ReportedValues.h"
#include "hosts/vst3/description.h"

namespace qov::hosts::vst3 {

class View;

/// The plug-in: one object that is component, audio processor and edit controller, around one
/// instance. process() and setProcessing() may be called on the audio thread and never block, and
/// latency() on any thread; the rest belongs to the main thread. The editor runs on the host's run
/// loop; a host without one gets no editor.
class Plugin final : public Unknown {
 public:
    /// The loop, which may be empty, is one that the host offers for as long as the plug-in lives.
    Plugin(std::unique_ptr<Instance> instance, Held<v3_run_loop> loop);
    ~Plugin() override;

    v3_funknown** face() { return as<v3_funknown>(component_); }

    // For the view, of which one is open at a time

    Instance& instance() { return *instance_; }
    /// The loop, which may be empty, is used if the host has offered no other. False while another
    /// view is open, and, with a line on standard error, without any loop.
    bool viewOpens(View& view, const Held<v3_run_loop>& loop);
    void viewCloses(View& view);
    /// Reports the end of a drag that ended with the view.
    void viewHasClosed() { tick(); }

 private:
    void* find(const std::uint8_t* id) noexcept override;

    // Component
    v3_result initialize(v3_funknown** context);
    v3_result terminate();
    v3_result setActive(v3_bool isActive);
    v3_result setState(v3_bstream** stream);
    v3_result getState(v3_bstream** stream);

    // Audio processor
    std::uint32_t latency();
    v3_result setupProcessing(v3_process_setup* setup);
    v3_result setProcessing(v3_bool isProcessing);
    v3_result process(v3_process_data* data);
    std::uint32_t tail();

    // Edit controller
    v3_result textOfValue(v3_param_id id, double value, std::int16_t* text);
    v3_result valueOfText(v3_param_id id, std::int16_t* text, double* value);
    double value(v3_param_id id);
    v3_result setValue(v3_param_id id, double value);
    v3_result setComponentHandler(v3_component_handler** handler);
    v3_plugin_view** createView(const char* name);

    static const v3_component_cpp componentTable;
    static const v3_audio_processor_cpp processorTable;
    static const v3_process_context_requirements_cpp requirementsTable;
    static const v3_edit_controller_cpp controllerTable;

    // Blocks, where the gate is held
    void applyValues();
    void resetIfAsked();
    template <class Push>
    std::uint32_t readPoints(const v3_process_data& data, std::uint32_t frames, const Push& push);
    void render(const v3_process_data& data, std::uint32_t frames);

    // Values and edits, on the main thread
    v3_result selectProgram(double value);
    void takeValues();
    void tick();
    void tickNow();
    void reportToHost();
    void report(const EditExchange::Edit& edit);
    bool startLoop(const Held<v3_run_loop>& loop);
    void stopLoop();

    const std::unique_ptr<Instance> instance_;
    ReportedValues values_;

    double sampleRate_ = 44100;
    std::uint32_t longestBlock_ = 1024;
    Gate gate_;
    bool isFresh_ = true;  // no signal since the last reset; guarded by the gate
    std::atomic<bool> resetIsAsked_{false};
    // Bit a: a block that found the gate taken had a value for address a.
    std::atomic<std::uint32_t> missed_{0};

    std::size_t program_ = 0;
    Held<v3_component_handler> handler_;
    std::atomic<std::uint32_t> announcedLatency_{0};
    Gate reporting_;
    const Held<v3_run_loop> factoryLoop_;
    Held<v3_run_loop> hostLoop_;  // that one, or the one of initialize
    HostLoop* loop_ = nullptr;    // while it runs
    View* view_ = nullptr;

    Face component_{&componentTable, this, this};
    Face audioProcessor_{&processorTable, this, this};
    Face requirements_{&requirementsTable, this, this};
    Face editController_{&controllerTable, this, this};
    Face midiMapping_{&midiMappingTable, this, this};
    Face units_{&unitTable, this, this};
};

}  // namespace qov::hosts::vst3
