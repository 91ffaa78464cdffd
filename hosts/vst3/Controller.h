#pragma once

#include <travesty/edit_controller.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "hosts/instance/EditExchange.h"
#include "hosts/vst3/Gate.h"
#include "hosts/vst3/HostLoop.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/Parameters.h"
#include "hosts/vst3/ReportedValues.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::vst3 {

class View;

/// The edit controller: parameters as the host sees them, edits on their way to it, programs, the
/// view. Main thread, except latency(). The editor runs on the host's run loop; a host without one
/// gets no editor.
class Controller {
 public:
    /// The effect is what a view keeps alive. The loop, which may be empty, is one that the host
    /// offers for as long as the plug-in lives.
    Controller(Unknown& effect, Instance& instance, ReportedValues& values, Held<v3_run_loop> loop);

    static const v3_edit_controller_cpp controllerTable;
    static const v3_midi_mapping_cpp midiMappingTable;

    v3_result initialize(v3_funknown** context);
    /// Closes the view. No object of the host's is called after this.
    v3_result terminate();

    const Parameters& parameters() const { return parameters_; }
    /// In frames, by the reported value of the bypass. Any thread.
    std::uint32_t latency() const;

    // For the processor

    /// Without a run loop, pending notifications are flushed on the next host call.
    void tickNow();
    std::string save();
    v3_result restore(v3_bstream** stream);
    /// On activation: reported values that have not reached the signal are applied, and the
    /// latency counts as announced.
    void applyValues();

    // For the view, of which one is open at a time

    /// The loop, which may be empty, is used if the host has offered no other. False while another
    /// view is open, and, with a line on standard error, without any loop.
    bool viewOpens(View& view, Held<v3_run_loop> loop);
    void viewCloses(View& view);
    /// Reports the end of a drag that ended with the view.
    void viewHasClosed() { tick(); }

 private:
    v3_result setComponentState(v3_bstream** stream);
    std::int32_t getParameterCount();
    v3_result getParameterInfo(std::int32_t index, v3_param_info* info);
    v3_result getParameterStringForValue(v3_param_id id, double value, std::int16_t* text);
    v3_result getParameterValueForString(v3_param_id id, std::int16_t* text, double* value);
    double normalisedParameterToPlain(v3_param_id id, double value);
    double plainParameterToNormalised(v3_param_id id, double plain);
    double getParameterNormalised(v3_param_id id);
    v3_result setParameterNormalised(v3_param_id id, double value);
    v3_result setComponentHandler(v3_component_handler** handler);
    v3_plugin_view** createView(const char* name);
    v3_result getMidiControllerAssignment(std::int32_t bus, std::int16_t channel,
                                          std::int16_t controller, v3_param_id* id);

    v3_result selectProgram(double value);
    void takeValues();
    void tick();
    void reportToHost();
    std::optional<EditExchange::Edit> nextEdit();
    void tell(const EditExchange::Edit& edit);

    Unknown& effect_;
    Instance& instance_;
    ReportedValues& values_;
    Parameters parameters_;
    std::size_t program_ = 0;
    Held<v3_component_handler> handler_;
    std::atomic<std::uint32_t> announcedLatency_{0};
    Gate reporting_;
    std::deque<EditExchange::Edit> edits_;  // not reported yet
    const Held<v3_run_loop> factoryLoop_;
    Held<v3_run_loop> hostLoop_;  // that one, or the one of initialize
    HostLoop loop_;
    View* view_ = nullptr;
};

}  // namespace qov::hosts::vst3
