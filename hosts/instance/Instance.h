#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "dsp/ParameterSetting.h"
#include "hosts/instance/AsymmetricFence.h"
#include "hosts/instance/EditExchange.h"
#include "hosts/instance/EditMemory.h"
#include "hosts/instance/EventQueue.h"
#include "hosts/instance/Preset.h"
#include "hosts/instance/Settings.h"
#include "hosts/instance/SignalMeter.h"

namespace platform {
class AUAudioUnitFactory;
class NSError;
class RunLoop;
}  // namespace platform

namespace qov::hosts {

/// One effect in a host: its audio unit with a run loop of its own, protected from whatever
/// the host does, and the exchange of parameters between the host, the audio thread and the editor.
///
/// Threads. A block (begin(), set(), midi(), end(), process()) and reset() belong to the audio
/// thread, or to another one while nothing is processed; they neither allocate nor block. value(),
/// latency() and takeLatencyChange() may be called on any thread. Everything else belongs to the
/// editor's thread (the host's main one), activate() and deactivate() while nothing is processed.
class Instance {
 public:
    /// Makes the audio unit, and lives as long as it: the editor's view controller.
    using Factory = std::shared_ptr<platform::AUAudioUnitFactory>;

    /// Frames by which the output is late while the effect is not bypassed.
    static constexpr std::uint32_t captureFrames = QOV_Kelvane_PluginDSPKernel::captureFrames;

    /// An instance on an audio unit of the factory's. The factory, which must not be null, is asked
    /// with the instance's run loop current; without a loop the instance gets one of its own. Null,
    /// with *error set where error is given, if the audio unit cannot be made.
    static std::unique_ptr<Instance> create(platform::NSError* error,
                                            const std::shared_ptr<platform::RunLoop>& loop,
                                            Factory factory);
    /// Ends the run loop, with the timers that the editor has left there.
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Sound

    /// Prepares to process at sampleRate frames a second; the signal starts from silence. Blocks
    /// up to longestBlock frames may overlap with their input in any way (see process).
    /// False and not active, with *error set where error is given, for an invalid rate.
    bool activate(double sampleRate, std::uint32_t longestBlock, platform::NSError* error);
    void deactivate();
    bool isActive() const { return static_cast<bool>(render_); }

    // A block: begin(), its events, end(). Not nested.

    /// Begins a block of any length. The channels must stay valid until end(), which has rendered
    /// all of it; parts may be rendered before. Input and output may be the same memory, also
    /// crossed over, and may overlap by parts in a block no longer than longestBlock, outputs with
    /// each other too (where they do, the right channel stays); a null input is silence, a null
    /// output is not written. While not active the output is silence and events take effect at
    /// once.
    void begin(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames);
    /// A parameter's new value at a frame of the block. Events may come in any order and number;
    /// those of one frame take effect in the order in which they come. One past the block's end
    /// counts as at its last frame; in a block of no frames events take effect at once. Values are
    /// clamped to 0..1; NaN and unknown addresses are dropped. Past 512 events in a block, one
    /// that is older than an event before it may take effect late, but in the same block.
    void set(std::uint32_t frame, std::uint64_t address, float value);
    /// A MIDI 1.0 message of 1 to 3 bytes; others are dropped, and so is a control change that was
    /// cut short. Returns the parameter that it sets, if any.
    std::optional<ParameterSetting> midi(std::uint32_t frame, std::span<const std::uint8_t> bytes);
    /// Renders the rest of the block.
    void end();

    /// A block without events.
    void process(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames) {
        begin(input, output, frames);
        end();
    }

    /// Clears the signal so far and ends all smoothing; parameters stay.
    void reset();

    /// Frames by which the output is late: 2048, or 0 while bypassed.
    std::uint32_t latency() const;
    /// Frames that sound after the end of the input: the capture's delay and the longest phase
    /// shift, a hundredth of a second at sampleRate frames a second.
    static std::uint32_t tail(double sampleRate);
    /// True once after every change of latency(), and for the first call when it is not 0.
    bool takeLatencyChange();

    /// Sums and peaks of the sound; the editor watches.
    SignalMeter& meter() { return meter_; }

    // Parameters, by the hosts' addresses; all but setValue() also take kVolume

    /// Of each parameter that hosts list, by address.
    using Values = std::array<float, parameterCount>;

    float value(std::uint64_t address) const;
    Values values() const;
    /// A value from the host; the editor follows, no edit is reported. Wrong ones are dropped or
    /// clamped as in set().
    void setValue(std::uint64_t address, float value);
    /// The same for all parameters, in one step for the sound; blocks as restoreState() does.
    void setValues(const Values& values);
    std::string valueText(std::uint64_t address, float value) const;
    /// A host's text for a value; values out of range are clamped. Empty where it cannot be read.
    std::optional<float> parseValue(std::uint64_t address, std::string_view text) const;
    /// A text typed into the panel's field; outside 0..1 where the range has no such value. Empty
    /// for a text that cannot be read.
    std::optional<float> parseTyped(std::uint64_t address, std::string_view text) const;

    /// Changes that the editor made, for the host's automation; may be fetched on the audio thread.
    EditExchange& edits() { return edits_; }
    /// A person touches the editor, or releases it: the changes in between are one gesture of each
    /// parameter. Returns which have changed; bit a: address a.
    void touchBegan();
    std::uint32_t touchEnded();
    /// Calls act(), which sets values as a host does, and reports what it changes as an edit.
    template <class Act>
    void edit(const Act& act) {
        const auto before = values();
        act();
        reportEdits(before);
    }

    // Presets and state

    /// Sets the values of a preset of presetBank, in one step, and keeps its name in the state.
    /// False for an unknown number.
    bool selectPreset(std::size_t number);
    /// The same for a user's preset.
    void selectPreset(const Preset& preset);
    /// The present values, and the preset that was selected last or came with a state.
    Settings settings() const;
    /// Sets both, as selectPreset() does.
    void setSettings(const Settings& settings);
    /// That preset's number in presetBank; none for a user's.
    std::optional<std::size_t> presetNumber() const;
    /// Bytes; a host's state beyond that is refused unread. A state has a few hundred.
    static constexpr std::size_t largestState = 1 << 20;
    std::string saveState() const;
    /// Restores a text of saveState(), in one step for the sound and for observers; blocks at most
    /// for the block that is being rendered. False, with nothing changed, for any other text or a
    /// later version (SavedState.h).
    bool restoreState(std::string_view state);

    // Editor

    /// What one editor leaves to the next.
    EditMemory& editMemory() { return editMemory_; }
    /// Reports changes of the audio thread to the editor, then runs what is due on the run loop.
    /// Never blocks.
    void pump();
    const std::shared_ptr<platform::RunLoop>& runLoop() const { return loop_; }
    QOV_Kelvane_PluginAudioUnit& audioUnit() { return *unit_; }
    const Factory& factory() const { return factory_; }

 private:
    Instance(std::shared_ptr<platform::RunLoop> loop, Factory factory);
    bool makeUnit(platform::NSError* error);
    void observeEdits();
    bool isBypassed() const;
    void note(const ParameterSetting& setting);
    void push(std::uint32_t frame, platform::AURenderEvent event);
    void apply(const platform::AURenderEvent& event);
    void reportEdits(const Values& before);
    void restore(const platform::AUState& state);
    void adopt(const Values& values);
    void takeAdopted();
    void writeAdopted(std::uint64_t address, float value);
    void renderUpTo(std::uint32_t end);
    void renderCycle(std::uint32_t frames);
    void copyInput();
    void copyOutput();

    std::shared_ptr<platform::RunLoop> loop_;
    Factory factory_;
    std::shared_ptr<QOV_Kelvane_PluginAudioUnit> unit_;
    std::shared_ptr<platform::AUParameterTree> tree_;  // the unit's
    platform::AUParameterObserverToken token_ = nullptr;

    platform::AUInternalRenderBlock render_;  // empty while not active
    platform::AURenderPullInputBlock pull_;
    std::uint32_t longestCycle_ = 0;  // frames; copies_ holds a multiple of it
    std::int64_t clock_ = 0;          // frames rendered since activation
    bool hasRendered_ = false;
    // Of an input that the output would overwrite; an output that is not there goes here, too.
    std::vector<float> copies_[2];
    std::vector<float> silence_;  // for an input that is not there

    // The present block
    const float* input_[2] = {};
    float* output_[2] = {};
    std::uint32_t frames_ = 0, done_ = 0;
    std::uint32_t cycleLeft_ = 0;  // frames to the next cut, at a multiple of the longest cycle
    bool isCopied_ = false;        // rendered from copies_
    bool outputsOverlap_ = false;  // and into copies_
    std::uint32_t copied_ = 0;     // frames in copies_
    std::uint32_t copyDone_ = 0;   // of them, rendered
    std::uint32_t addresses_ = 0;  // bit a: the block sets address a
    EventQueue queue_;
    const float* pullFrom_[2] = {};  // the input of the present cycle

    // Values that are set together, between two blocks.
    AsymmetricFence fence_;
    enum class Use : std::uint8_t { idle, taking, rendering, adopting };
    std::atomic<Use> use_{Use::idle};
    std::array<std::atomic<float>, parameterCount> adopted_{};
    std::atomic<bool> hasAdopted_{false};  // adopted_ is not in effect yet
    struct LastEvent {
        std::atomic<float> value{0};
        std::atomic<std::uint32_t> count{0};  // of the events so far
    };
    std::array<LastEvent, parameterCount> lastEvents_;  // by address

    std::atomic<std::uint32_t> setByAudio_{0};  // bit a: address a was set on the audio thread
    std::atomic<std::uint32_t> reportedLatency_{0};
    EditExchange edits_;
    EditMemory editMemory_;
    platform::AUAudioUnit::PresetPointer preset_;  // the unit's, which reports each query
    SignalMeter meter_;
    std::atomic<bool> touching_{false};
    std::atomic<std::uint32_t> held_{0};  // bit a: address a changed since the touch began
};

}  // namespace qov::hosts
