#pragma once

#include <cstdint>

#include "dsp/DynaBuffer.h"

namespace qov {

/// One channel as a ring with a position; what its traversals do is for the derived class to say.
class CircularBuffer : public DynaBuffer {
 public:
    virtual void reset();
    /// The next `frames` frames touched are the last of the storage; ignored outside 0..size.
    virtual void rewind(std::int32_t frames);
    /// Puts a block of `count` frames in, from `pos` on.
    virtual void write(const float* samples, std::int32_t count) = 0;
    /// The same, and the block gets what was there.
    virtual void exchange(float* samples, std::int32_t count) = 0;
    virtual void idle() {}

    std::int32_t pos = 0;  ///< next frame to touch
};

}  // namespace qov
