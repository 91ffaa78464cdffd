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

    /// Creates the bus and releases the pull buffer.
    void configure(const std::shared_ptr<platform::AVAudioFormat>& format,
                   std::uint32_t maximumChannelCount);

    /// Creates the pull buffer in the bus's present format. Throws std::bad_alloc.
    void allocateBuffers(std::uint32_t maximumFrames);
    void releaseBuffers();

    /// Points the mutable list at the pull buffer again; its byte sizes are those of the longest
    /// cycle, not of the present one.
    void prepareBufferList();

    /// Calls the host's block to fill the mutable list and returns its status; without a block
    /// kAudioUnitErr_NoConnection. Audio thread, buffers allocated.
    platform::AUAudioUnitStatus pullInput(platform::AudioUnitRenderActionFlags* flags,
                                          const platform::AudioTimeStamp* timestamp,
                                          platform::AUAudioFrameCount frameCount,
                                          std::int64_t inputBusNumber,
                                          const platform::AURenderPullInputBlock& pullInputBlock);
};

}  // namespace qov
