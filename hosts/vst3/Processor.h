#pragma once

#include <travesty/audio_processor.h>
#include <travesty/component.h>

#include <atomic>
#include <cstdint>

#include "hosts/vst3/Gate.h"
#include "hosts/vst3/ReportedValues.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::vst3 {

class Controller;

/// The component and the audio processor: busses, activation, blocks, state. process() and
/// setProcessing() may be called on the audio thread and never block; the rest belongs to the main
/// one.
class Processor {
 public:
    Processor(Instance& instance, ReportedValues& values, Controller& controller);

    static const v3_component_cpp componentTable;
    static const v3_audio_processor_cpp processorTable;
    static const v3_process_context_requirements_cpp requirementsTable;

    /// Ends processing, if the host has not.
    void deactivate();

 private:
    // Component
    v3_result initialize(v3_funknown** context);
    v3_result terminate();
    std::int32_t getBusCount(std::int32_t media, std::int32_t direction);
    v3_result getBusInfo(std::int32_t media, std::int32_t direction, std::int32_t index,
                         v3_bus_info* info);
    v3_result getRoutingInfo(v3_routing_info* input, v3_routing_info* output);
    v3_result activateBus(std::int32_t media, std::int32_t direction, std::int32_t index,
                          v3_bool isActive);
    v3_result setActive(v3_bool isActive);
    v3_result setState(v3_bstream** stream);
    v3_result getState(v3_bstream** stream);

    // Audio processor
    v3_result setBusArrangements(v3_speaker_arrangement* inputs, std::int32_t inputCount,
                                 v3_speaker_arrangement* outputs, std::int32_t outputCount);
    v3_result getBusArrangement(std::int32_t direction, std::int32_t index,
                                v3_speaker_arrangement* arrangement);
    v3_result canProcessSampleSize(std::int32_t size);
    std::uint32_t getLatencySamples();
    v3_result setupProcessing(v3_process_setup* setup);
    v3_result setProcessing(v3_bool isProcessing);
    v3_result process(v3_process_data* data);
    std::uint32_t getTailSamples();

    bool activate();
    void resetIfAsked();
    template <class Push>
    std::uint32_t readPoints(const v3_process_data& data, std::uint32_t frames, const Push& push);
    void render(const v3_process_data& data, std::uint32_t frames);

    Instance& instance_;
    ReportedValues& values_;
    Controller& controller_;
    double sampleRate_ = 44100;
    std::uint32_t longestBlock_ = 1024;
    Gate gate_;
    bool isFresh_ = true;  // no signal since the last reset; guarded by the gate
    std::atomic<bool> resetIsAsked_{false};
    // Bit a: a block that found the gate taken had a value for address a.
    std::atomic<std::uint32_t> missed_{0};
};

}  // namespace qov::hosts::vst3
