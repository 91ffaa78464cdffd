#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// One run of samples: for non-interleaved audio, one channel of 32-bit floats.
struct AudioBuffer {
    std::uint32_t mNumberChannels;
    std::uint32_t mDataByteSize;
    void* mData;
};

/// A count and that many buffers behind it; mBuffers is declared with one and allocated with more.
struct AudioBufferList {
    std::uint32_t mNumberBuffers;
    AudioBuffer mBuffers[1];
};

/// The size in bytes of a list of this many buffers.
constexpr std::size_t audioBufferListSize(std::uint32_t buffers) {
    return offsetof(AudioBufferList, mBuffers) + sizeof(AudioBuffer) * (buffers ? buffers : 1);
}

/// A stereo list with its storage, for callers that know their channel count.
struct StereoBufferList {
    std::uint32_t mNumberBuffers = 2;
    AudioBuffer mBuffers[2] = {};

    StereoBufferList() = default;
    /// left, right: `frames` floats each, owned by the caller.
    StereoBufferList(float* left, float* right, std::uint32_t frames)
        : mBuffers{{1, frames * std::uint32_t{sizeof(float)}, left},
                   {1, frames * std::uint32_t{sizeof(float)}, right}} {}

    AudioBufferList* list() { return reinterpret_cast<AudioBufferList*>(this); }
};
static_assert(offsetof(StereoBufferList, mBuffers) == offsetof(AudioBufferList, mBuffers));

}  // namespace platform
