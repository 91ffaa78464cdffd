#include "platform/avfoundation/AVAudioPCMBuffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "platform/avfoundation/AVAudioFormat.h"

namespace platform {
namespace {

constexpr std::size_t boundary = 64;  // bytes; a cache line and the widest vector register

/// Floats from the start of one channel to that of the next.
std::size_t channelStride(std::uint32_t frames) {
    constexpr std::size_t floats = boundary / sizeof(float);
    return (std::max<std::size_t>(frames, 1) + floats - 1) / floats * floats;
}

}  // namespace

/// A buffer list in memory of its own length.
class AVAudioPCMBuffer::List {
 public:
    List(float* samples, std::uint32_t channels, std::uint32_t frames)
        : bytes_(::operator new(audioBufferListSize(channels))) {
        list()->mNumberBuffers = channels;
        for (std::uint32_t channel = 0; channel < channels; ++channel)
            list()->mBuffers[channel] = {1, frames * std::uint32_t{sizeof(float)},
                                         samples + channel * channelStride(frames)};
    }
    ~List() { ::operator delete(bytes_); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    AudioBufferList* list() { return static_cast<AudioBufferList*>(bytes_); }

 private:
    void* bytes_;
};

AVAudioPCMBuffer::AVAudioPCMBuffer(std::shared_ptr<AVAudioFormat> format,
                                   std::uint32_t frameCapacity)
    : format_(std::move(format)), frameCapacity_(frameCapacity) {
    const auto channels = format_->channelCount();
    const auto bytes = channels * channelStride(frameCapacity) * sizeof(float);
    samples_.reset(static_cast<float*>(::operator new (bytes, std::align_val_t{boundary})));
    std::memset(samples_.get(), 0, bytes);
    original_ = std::make_unique<List>(samples_.get(), channels, frameCapacity);
    mutable_ = std::make_unique<List>(samples_.get(), channels, frameCapacity);
}

AVAudioPCMBuffer::~AVAudioPCMBuffer() = default;

const AudioBufferList* AVAudioPCMBuffer::audioBufferList() const {
    return original_->list();
}

AudioBufferList* AVAudioPCMBuffer::mutableAudioBufferList() {
    return mutable_->list();
}

void AVAudioPCMBuffer::Free::operator()(float* samples) const {
    ::operator delete (samples, std::align_val_t{boundary});
}

}  // namespace platform
