#pragma once

#include <cstdint>
#include <memory>

#include "platform/audiotoolbox/AudioBufferList.h"

namespace platform {

class AVAudioFormat;

/// Zeroed sample storage for one run of frames, each channel on its own 64-byte boundary.
class AVAudioPCMBuffer {
 public:
    /// frameCapacity in frames.
    AVAudioPCMBuffer(std::shared_ptr<AVAudioFormat> format, std::uint32_t frameCapacity);
    ~AVAudioPCMBuffer();
    AVAudioPCMBuffer(const AVAudioPCMBuffer&) = delete;
    AVAudioPCMBuffer& operator=(const AVAudioPCMBuffer&) = delete;

    const std::shared_ptr<AVAudioFormat>& format() const { return format_; }
    std::uint32_t frameCapacity() const { return frameCapacity_; }

    /// The storage as it was allocated; the buffer's own, never changed.
    const AudioBufferList* audioBufferList() const;
    /// A second list over the same storage, which others may point elsewhere.
    AudioBufferList* mutableAudioBufferList();

 private:
    class List;

    std::shared_ptr<AVAudioFormat> format_;
    std::uint32_t frameCapacity_;
    std::unique_ptr<List> original_;
    std::unique_ptr<List> mutable_;
    struct Free {
        void operator()(float* samples) const;
    };
    std::unique_ptr<float, Free> samples_;
};

}  // namespace platform
