#pragma once

#include <cstdint>

namespace qov {

/// Two channels of 32-bit float frames, 16-byte aligned, owned by this object.
/// A failed allocation leaves it empty; nothing throws.
class DynaBuffer2 {
 public:
    DynaBuffer2() = default;
    DynaBuffer2(const DynaBuffer2&) = delete;
    DynaBuffer2& operator=(const DynaBuffer2&) = delete;
    virtual ~DynaBuffer2();

    /// The two channels' storage, left first.
    virtual float** getData() { return data; }
    /// 0 is left, 1 is right; null for any other index.
    virtual float* getChannel(std::int32_t index);
    virtual std::int32_t getSize() { return size; }
    virtual void resize(std::int32_t frames) { allocate(frames); }
    /// Zeroes the frames in use.
    virtual void clear();
    /// Frees the storage.
    virtual void release();
    /// Its own size again changes nothing, 0 or less releases, a size within the storage only sets
    /// `size` (contents stay), a larger one gives fresh zeroed frames.
    virtual float** allocate(std::int32_t frames);

    std::int32_t size = 0;      ///< frames in use
    std::int32_t dataSize = 0;  ///< frames allocated per channel
    float* data[2] = {nullptr, nullptr};
};

}  // namespace qov
