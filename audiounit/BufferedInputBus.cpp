#include "audiounit/BufferedInputBus.h"

namespace qov {

using namespace platform;

void BufferedInputBus::configure(const std::shared_ptr<AVAudioFormat>& format,
                                 std::uint32_t maximumChannelCount) {
    maxFrames = 0;
    releaseBuffers();
    bus = AUAudioUnitBus::initWithFormat(format, nullptr);
    bus->setMaximumChannelCount(maximumChannelCount);
}

void BufferedInputBus::allocateBuffers(std::uint32_t maximumFrames) {
    maxFrames = maximumFrames;
    pcmBuffer = std::make_shared<AVAudioPCMBuffer>(bus->format(), maxFrames);
    originalAudioBufferList = pcmBuffer->audioBufferList();
    mutableAudioBufferList = pcmBuffer->mutableAudioBufferList();
}

void BufferedInputBus::releaseBuffers() {
    pcmBuffer.reset();
    originalAudioBufferList = nullptr;
    mutableAudioBufferList = nullptr;
}

void BufferedInputBus::prepareBufferList() {
    const auto& original = *originalAudioBufferList;
    auto& list = *mutableAudioBufferList;
    list.mNumberBuffers = original.mNumberBuffers;
    for (std::uint32_t i = 0; i < original.mNumberBuffers; ++i) {
        list.mBuffers[i].mNumberChannels = original.mBuffers[i].mNumberChannels;
        list.mBuffers[i].mData = original.mBuffers[i].mData;
        list.mBuffers[i].mDataByteSize = maxFrames * std::uint32_t{sizeof(float)};
    }
}

AUAudioUnitStatus BufferedInputBus::pullInput(AudioUnitRenderActionFlags* flags,
                                              const AudioTimeStamp* timestamp,
                                              AUAudioFrameCount frameCount,
                                              std::int64_t inputBusNumber,
                                              const AURenderPullInputBlock& pullInputBlock) {
    if (!pullInputBlock) return kAudioUnitErr_NoConnection;
    prepareBufferList();
    return pullInputBlock(flags, timestamp, frameCount, inputBusNumber, mutableAudioBufferList);
}

}  // namespace qov
