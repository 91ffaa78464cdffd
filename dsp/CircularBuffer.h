#pragma once

#include <cstdint>

#include "dsp/DynaBuffer.h"

namespace qov {

/// One channel as a ring with a position; the derived class defines its traversals.
class CircularBuffer : public DynaBuffer {
 public:
    virtual void reset();
    /// The next `frames` frames touched are the last of the storage; ignored outside 0..size.
    virtual void rewind(std::int32_t frames);
    /// Stores a block of `count` frames, from `pos` on.
    virtual void write(const float* samples, std::int32_t count) = 0;
    /// Swaps a block with the ring, from `pos` on.
    virtual void exchange(float* samples, std::int32_t count) = 0;
    virtual void idle() {}

    std::int32_t pos = 0;  ///< next frame to touch
};

}  // namespace qov
