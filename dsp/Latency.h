#pragma once

#include <cstdint>

#include "dsp/CircularBuffer.h"

namespace qov {

struct ChainLoops;

/// A delay line of one channel whose length changes where it wraps: the new length starts with a
/// repeat of the frame before it. Render thread, but for lNewSize, which any thread may set.
class Latency final : public CircularBuffer {
 public:
    Latency();

    /// The requested length, not the allocated size.
    std::int32_t getSize() override;
    /// Stores the frames without output.
    void write(const float* samples, std::int32_t count) override;
    /// Delays the block in place by lSize frames.
    void exchange(float* samples, std::int32_t count) override;
    /// The same over runs: out = in x gain, delayed. in and out are the same block or apart.
    void exchange(const float* in, float* out, std::int32_t count, float gain,
                  const ChainLoops& loops);
    /// Requests a length in frames, at least 1.
    virtual void setLength(std::int32_t frames);

    /// Sets the frame before the next block, for a caller that changed the last one after the line
    /// put it out.
    void setPrecedingFrame(float frame) { precedingFrame_ = frame; }

    /// Starts a new signal, with a preceding frame of 0, and allocates storage for lengths up to
    /// `longest` frames, so that the render thread need not. Not while rendering.
    void prepare(std::int32_t longest);

    std::int32_t lSize = 1024;     ///< length in force
    std::int32_t lNewSize = 1024;  ///< requested length, shared with other threads

 private:
    std::int32_t end() const;
    bool isReady(const float* samples, std::int32_t i);
    void endBlock(const float* samples, std::int32_t count);
    void wrap(float preceding);
    void shift(const float* in, float* out, std::int32_t count, float gain,
               const ChainLoops& loops);

    float precedingFrame_ = 0;  // before the next block; a new length repeats it
};

}  // namespace qov
