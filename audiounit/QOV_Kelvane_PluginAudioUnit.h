#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audiounit/BufferedInputBus.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "platform/audiotoolbox/AUAudioUnit.h"
#include "platform/audiotoolbox/AUAudioUnitBusArray.h"
#include "platform/audiotoolbox/AUParameterTree.h"

namespace qov {

/// The effect as hosts see it: its parameters, one stereo input, one stereo output, a render
/// block around the kernel. Threads and order of calls are those of AUAudioUnit; the accessors
/// for the editor belong to the main thread, parameters to any.
class QOV_Kelvane_PluginAudioUnit : public platform::AUAudioUnit {
 public:
    QOV_Kelvane_PluginAudioUnit();
    ~QOV_Kelvane_PluginAudioUnit() override;

    bool initWithComponentDescription(const platform::AudioComponentDescription& description,
                                      platform::AudioComponentInstantiationOptions options,
                                      platform::NSError* error) override;

    std::shared_ptr<platform::AUAudioUnitBusArray> inputBusses() const override;
    std::shared_ptr<platform::AUAudioUnitBusArray> outputBusses() const override;

    /// Fails with kAudioUnitErr_FailedInitialization when input and output differ in channels, have
    /// more than the input bus's maximum, or memory runs out; then no render resources are
    /// allocated. On success the kernel is initialised for the output format and reset.
    bool allocateRenderResourcesAndReturnError(platform::NSError* error) override;
    void deallocateRenderResources() override;

    /// The block holds no reference to the audio unit, which must outlive it. It expects no more
    /// than maximumFramesToRender frames and does not check.
    platform::AUInternalRenderBlock internalRenderBlock() override;

    /// For a host that starts a new signal: clears all sound that is held and sets smoothed values
    /// as after allocation. Parameters stay. Audio thread.
    void forgetSignal() { _kernel.forgetSignal(); }

    /// The stored factory preset, or the custom preset that was set.
    PresetPointer currentPreset() const override;

    /// A factory preset (by its number) sets all parameters through the tree; a custom one
    /// is only remembered. Null, unknown numbers and nameless custom presets change nothing.
    void setCurrentPreset(PresetPointer preset) override;

    /// All hosts' addresses, whatever the count.
    std::vector<std::uint64_t> parametersForOverviewWithCount(std::int64_t count) const override;

    std::shared_ptr<platform::AUParameterTree> parameterTree() const override;
    void setParameterTree(std::shared_ptr<platform::AUParameterTree> tree) override;

    bool canProcessInPlace() const override { return true; }

    /// One name; no MIDI is ever sent.
    std::vector<std::string> MIDIOutputNames() const override;

    /// Frames in each of the two analysis buffers.
    std::int32_t getBufferSize() const;
    /// A channel of the live capture ring, which the render thread keeps writing. Both clear
    /// isNewBuffer().
    float* getBufferLeft();
    float* getBufferRight();
    /// True if the ring has wrapped since the last fetch.
    bool isNewBuffer() const;

    /// The kernel's parameter, without the tree.
    void setParameter(std::int32_t address, float value);
    float getParameter(std::int32_t address) const;

    /// Delay of the left channel, in frames.
    std::int32_t getPhaseShift() const;
    /// Frames a second.
    float getSamplerate() const;

    std::vector<PresetPointer> factoryPresets() const override;

    // Any thread.
    std::shared_ptr<platform::AUAudioUnitBus> outputBus() const;
    void setOutputBus(std::shared_ptr<platform::AUAudioUnitBus> bus);
    std::shared_ptr<platform::AUAudioUnitBusArray> inputBusArray() const;
    void setInputBusArray(std::shared_ptr<platform::AUAudioUnitBusArray> array);
    std::shared_ptr<platform::AUAudioUnitBusArray> outputBusArray() const;
    void setOutputBusArray(std::shared_ptr<platform::AUAudioUnitBusArray> array);

 private:
    void buildParameterTree();
    void installCallbacks();
    void adoptHostBlocks();

    QOV_Kelvane_PluginDSPKernel _kernel;
    BufferedInputBus _inputBus;
    PresetPointer _currentPreset;
    std::int64_t _currentFactoryPresetIndex = 0;
    std::vector<PresetPointer> _presets;
    std::shared_ptr<platform::AUParameterTree> _parameterTree;
    std::shared_ptr<platform::AUAudioUnitBus> _outputBus;
    std::shared_ptr<platform::AUAudioUnitBusArray> _inputBusArray;
    std::shared_ptr<platform::AUAudioUnitBusArray> _outputBusArray;
};

}  // namespace qov
