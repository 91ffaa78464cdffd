#pragma once

#include <cstdint>

namespace qov {

/// One channel of 32-bit float frames, 16-byte aligned, owned by this object.
/// A failed allocation leaves it empty; nothing throws.
class DynaBuffer {
 public:
    DynaBuffer() = default;
    DynaBuffer(const DynaBuffer&) = delete;
    DynaBuffer& operator=(const DynaBuffer&) = delete;
    virtual ~DynaBuffer();

    virtual float* getData() { return data; }
    virtual std::int32_t getSize() { return size; }
    virtual void resize(std::int32_t frames) { allocate(frames); }
    /// Its own size again zeroes the frames, less than 1 releases them, a smaller size changes
    /// nothing at all, a larger one gives fresh zeroed frames.
    virtual float* allocate(std::int32_t frames);
    /// Its own size again is a no-op; any other size discards the frames.
    virtual float* reallocate(std::int32_t frames);
    /// Zeroes the frames.
    virtual void clear();
    /// Frees the storage.
    virtual void release();

    std::int32_t size = 0;  ///< allocated frames
    float* data = nullptr;

 protected:
    /// Allocates storage for so many frames, so that a later growth needs no allocation; contents,
    /// `size` and what allocate() does stay the same.
    void reserve(std::int32_t frames);

 private:
    std::int32_t capacity_ = 0;  // frames that data has room for; at least size
};

}  // namespace qov
