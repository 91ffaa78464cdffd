#include "platform/avfoundation/AVAudioFormat.h"

#include <cmath>

namespace platform {

std::shared_ptr<AVAudioFormat> AVAudioFormat::initStandardFormatWithSampleRate(
    double sampleRate, std::uint32_t channels) {
    if (!std::isfinite(sampleRate) || sampleRate <= 0 || channels == 0) return nullptr;
    std::shared_ptr<AVAudioFormat> format(new AVAudioFormat);
    format->sampleRate_ = sampleRate;
    format->channelCount_ = channels;
    return format;
}

}  // namespace platform
