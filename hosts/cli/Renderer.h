#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace qov::hosts {
class Instance;
}

namespace qov::cli {

/// Where output frames stand.
enum class Timing {
    aligned,  ///< every output frame stands where its input frame stood
    raw,      ///< what the render calls return, as it comes
};

/// Runs a stream of any length through an effect, block by block, with its automation.
///
/// Aligned timing. Processed frames leave the effect `latency` frames late, in their order;
/// bypassed ones leave it at once. So the first `latency` processed frames that come out are
/// dropped, and what is still inside is fetched with silence at the end and right before bypass is
/// switched on. That leaves no trace: switching bypass on resets the chain, and the silence is what
/// is dropped when processing goes on. Each frame, processed or bypassed, thus has its input's
/// place, and the output has the input's length.
class Renderer {
 public:
    /// Takes `frames` frames of the output; the pointers are valid during the call.
    using Sink = std::function<void(const float* left, const float* right, std::uint32_t frames)>;

    /// Longest block, in frames: the effect's own longest cycle, to which it cuts longer ones.
    static constexpr std::uint32_t maximumBlock = 1024;

    /// effect: active, without a signal so far. events: parameter and MIDI events, whose times are
    /// frames of the stream, sorted; those after its end are ignored. block: frames of a render
    /// call, 1..maximumBlock.
    Renderer(hosts::Instance& effect, std::vector<platform::AURenderEvent> events,
             std::uint32_t block, Timing timing, Sink sink);

    /// The next frames of the input, which are overwritten. Blocks are counted from the start of
    /// each call, so every call but the last takes a multiple of the block.
    void process(float* left, float* right, std::uint32_t frames);

    /// The end of the input: delivers the frames that are still in the effect.
    void finish();

 private:
    void renderBlock(float* left, float* right, std::uint32_t frames);
    void deliverProcessed(const float* left, const float* right, std::uint32_t frames);
    void drain();

    hosts::Instance& effect_;
    const std::vector<platform::AURenderEvent> events_;
    const std::uint32_t block_;
    const Timing timing_;
    const Sink sink_;
    std::size_t nextEvent_ = 0;
    std::int64_t position_ = 0;  ///< input frames so far
    bool bypassed_;
    std::uint32_t surplus_;  ///< processed frames to drop before the first one to keep
    std::vector<float> silenceLeft_, silenceRight_;
};

/// Whether every frame of `frames` passes untouched, whatever else happens.
bool isBypassedThroughout(bool bypassed, const std::vector<platform::AURenderEvent>& events,
                          std::int64_t frames);

}  // namespace qov::cli
