#pragma once

#include <cstdint>
#include <memory>

#include "platform/audiotoolbox/AUAudioUnit.h"
#include "platform/audiotoolbox/AUAudioUnitBus.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/avfoundation/AVAudioPCMBuffer.h"

namespace qov {

/// An input bus with the buffer into which a cycle's input is pulled.
struct BufferedInputBus {
    std::shared_ptr<platform::AUAudioUnitBus> bus;
    /// Capacity of the pull buffer.
    std::uint32_t maxFrames = 0;
    /// While render resources are allocated.
    std::shared_ptr<platform::AVAudioPCMBuffer> pcmBuffer;
    const platform::AudioBufferList* originalAudioBufferList = nullptr;
    platform::AudioBufferList* mutableAudioBufferList = nullptr;

    /// Makes the bus; drops a pull buffer.
    void configure(const std::shared_ptr<platform::AVAudioFormat>& format,
                   std::uint32_t maximumChannelCount);

    /// Makes the pull buffer in the bus's present format.
    void allocateBuffers(std::uint32_t maximumFrames);
    void releaseBuffers();

    /// Points the mutable list at the pull buffer again; its byte sizes are those of a longest
    /// cycle, however short the present one.
    void prepareBufferList();

    /// Audio thread, buffers allocated: lets the host fill the mutable list. Returns the host's
    /// status, or kAudioUnitErr_NoConnection, with nothing touched, when there is no block.
    platform::AUAudioUnitStatus pullInput(platform::AudioUnitRenderActionFlags* flags,
                                          const platform::AudioTimeStamp* timestamp,
                                          platform::AUAudioFrameCount frameCount,
                                          std::int64_t inputBusNumber,
                                          const platform::AURenderPullInputBlock& pullInputBlock);
};

}  // namespace qov
