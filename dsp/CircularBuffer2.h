#pragma once

#include <cstdint>

#include "dsp/DynaBuffer2.h"

namespace qov {

/// Two-channel ring. At the first frame after it has been filled it calls onBuffer: then the ring
/// holds its last `size` frames, the oldest at index 0.
class CircularBuffer2 : public DynaBuffer2 {
 public:
    CircularBuffer2();
    ~CircularBuffer2() override;

    virtual void reset();
    /// The next `frames` frames touched are the last of the ring; ignored outside 0..size.
    virtual void rewind(std::int32_t frames);
    /// Traversals: from `pos` on over `count` frames of both blocks, wrapping; nothing happens
    /// without blocks or storage. write stores, read fetches, exchange swaps ring and block,
    /// accumulate stores and adds what was in the ring to the block.
    virtual void write(const float* left, const float* right, std::int32_t count);
    virtual void read(float* left, float* right, std::int32_t count);
    /// Zeroes both blocks and moves on without a wrap; the next traversal wraps.
    virtual void skip(float* left, float* right, std::int32_t count);
    virtual void exchange(float* left, float* right, std::int32_t count);
    virtual void accumulate(float* left, float* right, std::int32_t count);
    /// Storage of a resampler for what resample() makes; nothing happens in another ring.
    virtual void allocateResampled(std::int32_t frames);
    /// Frames that a reader gets: of `resampled` in a resampler, else of the ring.
    virtual std::int32_t getOutputSize();
    /// Calls onBuffer, if there is one, on the thread that traverses.
    virtual void notify();

    /// Fills `resampled` from the ring by nearest frames, each averaged with the value before it.
    void resample();

    /// Called by every traversal where the ring is full: sets pos to 0, resamples and notifies.
    /// onBuffer may reallocate or release the storage.
    void wrap();
    /// Whether there is storage to traverse.
    bool isReady() const { return size > 0 && data[0] && data[1]; }

    void (*onBuffer)(void* callee) = nullptr;
    void* callee = nullptr;
    bool isResampler = false;
    std::int32_t pos = 0;  ///< next frame to touch
    float lastValueL = 0;  ///< running averages of resample()
    float lastValueR = 0;
    float interpolatedL = 0;  ///< held, never read
    float interpolatedR = 0;
    DynaBuffer2 resampled;

 private:
    template <class Frame>
    void traverse(std::int32_t count, Frame frame);
};

}  // namespace qov
