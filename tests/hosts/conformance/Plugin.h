#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/instance/EditExchange.h"
#include "hosts/vst3/Gate.h"
#include "tests/support/Stereo.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

/// A parameter as a format describes it. Values are those of the effect: 0..1, bypass 1 while
/// bypassed, whatever the format makes of them.
struct ParameterDescription {
    std::uint64_t address = 0;
    std::string name;
    float minimum = 0, maximum = 1, initial = 0;
    bool isSwitch = false;      // two steps
    bool isBypass = false;      // known to the host as the plug-in's bypass
    bool isAutomatable = true;  // may be written by automation
};

/// The description that a scan of the binary finds.
struct PluginDescription {
    std::string name, maker, version;
    std::vector<std::string> presets;  // none where the format has no place for them
    std::vector<ParameterDescription> parameters;
    int inputs = 0, outputs = 0;  // audio channels
};

/// A driver sets those false that its format lacks.
struct Capabilities {
    bool texts = true;                 // the plug-in writes a value as text, and reads one
    bool announcesLatency = true;      // the plug-in announces a change, is not only asked
    bool restoresWhileRunning = true;  // a state may be restored while a block is processed
    bool changesRate = true;           // without a new plug-in, which loses the volume
};

/// One instance as a host drives it through a format's C interface. Failures
/// that the interface has no result for are thrown as std::runtime_error.
///
/// Threads: prepare(), run() and process() belong to the audio thread (any one thread at a time),
/// everything else to the main thread.
class Plugin {
 public:
    Plugin() = default;
    virtual ~Plugin() = default;  // in any state: active, editor open
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    // Sound

    /// Makes ready to process; false where the plug-in refuses. Not called on an active plug-in.
    bool activate(double sampleRate, std::uint32_t longestBlock) {
        return isActive_ = start(sampleRate, longestBlock);
    }
    void deactivate() {
        stop();
        isActive_ = false;
    }
    /// The signal starts from silence; active only.
    virtual void reset() = 0;

    /// Sets up the next block: all that is not the plug-in's own work, so it may allocate. Pointers
    /// may be equal or crossed; events in any order. Values that setValue() left for the audio
    /// thread are sent before the events.
    void prepare(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames,
                 std::span<const platform::AURenderEvent> events) {
        const std::lock_guard alone(busy_);
        for (int channel = 0; channel < 2; ++channel) {
            input_[channel] = const_cast<float*>(input[channel]);  // as the formats have it
            output_[channel] = output[channel];
        }
        frames_ = frames;
        setUp(std::exchange(pending_, {}), events);
    }
    /// Calls the plug-in with the prepared block and does next to nothing else (no allocation, no
    /// lock); the tests guard and measure it. May be repeated.
    virtual void run() = 0;
    /// The same several times, with the driver's own locking done once.
    virtual void repeat(int times) {
        while (times-- > 0) run();
    }
    void process(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames,
                 std::span<const platform::AURenderEvent> events) {
        prepare(input, output, frames, events);
        run();
    }

    virtual std::uint32_t latency() = 0;
    /// True once after the plug-in has announced a change of its latency (in idle() or run()) and
    /// the host has done what the format asks for then, a restart included.
    virtual bool takeLatencyAnnouncement() { return false; }

    // Parameters

    /// The plug-in's value, as the format reports it.
    virtual float value(std::uint64_t address) = 0;
    /// By address.
    std::vector<float> values() {
        std::vector<float> all;
        for (std::uint64_t address = 0; address < 8; ++address) all.push_back(value(address));
        return all;
    }
    /// A change by the host; it takes effect with the next block at the latest, while inactive at
    /// once.
    virtual void setValue(std::uint64_t address, float value) {
        {
            const std::lock_guard alone(busy_);
            pending_.push_back(parameterEvent(0, address, value));
        }
        if (!isActive_) flush();
    }
    virtual std::string valueText(std::uint64_t, float) { return {}; }
    virtual std::optional<float> parseValue(std::uint64_t, const std::string&) { return {}; }
    /// The edits that the plug-in has reported since the last call, in order.
    virtual std::vector<hosts::EditExchange::Edit> takeEdits() = 0;

    // State: the bytes that the plug-in puts into a project

    virtual std::string saveState() = 0;
    /// False when the plug-in refuses them.
    virtual bool restoreState(std::string_view bytes) = 0;

    // Editor

    /// Embedded into an X11 window. False where it does not open.
    virtual bool openEditor(std::uint64_t parent) = 0;
    virtual void closeEditor() = 0;
    /// In pixels; {0, 0} while there is none.
    virtual std::pair<int, int> editorSize() = 0;
    virtual bool resizeEditor(int width, int height) = 0;

    /// One turn of the host's run loop: timers, descriptors, requests of the plug-in, editor idle.
    /// Never blocks.
    virtual void idle() = 0;

 protected:
    /// Hands pending values over while inactive.
    void flush() {
        prepare({nullptr, nullptr}, {nullptr, nullptr}, 0, {});
        runInactive();
    }

    bool isActive_ = false;
    float* input_[2] = {};  // of the next block
    float* output_[2] = {};
    std::uint32_t frames_ = 0;
    hosts::vst3::Gate busy_;  // keeps two threads of the host apart without a system call

 private:
    using Events = std::vector<platform::AURenderEvent>;

    virtual bool start(double sampleRate, std::uint32_t longestBlock) = 0;
    virtual void stop() = 0;
    /// prepare() of the format: input_, output_ and frames_ are those of the block.
    virtual void setUp(const Events& pending, std::span<const platform::AURenderEvent> events) = 0;
    /// Runs a block that has no frames.
    virtual void runInactive() {}

    Events pending_;  // values of the main thread for the next block
};

/// A whole signal; see inBlocks().
inline Stereo processAll(Plugin& plugin, const Stereo& signal, std::uint32_t block,
                         const std::vector<platform::AURenderEvent>& events = {}) {
    return inBlocks(signal, block, events,
                    [&](const auto&... arguments) { plugin.process(arguments...); });
}

/// A binary of one format. Every call of it may come from any one thread at a time.
struct Format {
    Capabilities can;
    /// Scans as a host does: opens the binary, reads all there is about the plug-in without making
    /// an instance (where the format allows it), closes the binary again. Null for the bare
    /// instance, which is no binary.
    PluginDescription (*describe)();
    /// Opens the binary if need be, and makes an instance, not active. May be called on several
    /// threads at a time.
    std::unique_ptr<Plugin> (*create)();

    /// All that are built in, by their names, each one word.
    static std::map<std::string, Format>& all() {
        static std::map<std::string, Format> formats;
        return formats;
    }
    /// For a driver's source: `const bool registered = Format::add<MyPlugin>("Mine", {},
    /// describe);`
    template <class Driver>
    static bool add(const std::string& name, Capabilities can, PluginDescription (*describe)()) {
        const auto create = []() -> std::unique_ptr<Plugin> { return std::make_unique<Driver>(); };
        return all().insert({name, {can, describe, create}}).second;
    }
};

}  // namespace qov::test
