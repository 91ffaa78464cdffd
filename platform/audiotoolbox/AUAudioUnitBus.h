#pragma once

#include <cstdint>
#include <memory>

namespace platform {

class AVAudioFormat;
class NSError;

/// One input or output of an audio unit.
class AUAudioUnitBus {
 public:
    /// A bus with a format. Null, with *error set where error is given, when there is none.
    static std::shared_ptr<AUAudioUnitBus> initWithFormat(std::shared_ptr<AVAudioFormat> format,
                                                          NSError* error);

    const std::shared_ptr<AVAudioFormat>& format() const { return format_; }

    /// Changes the format; takes effect when render resources are next allocated.
    /// False, with *error set where error is given, when there is no format.
    bool setFormat(std::shared_ptr<AVAudioFormat> format, NSError* error);

    /// 0: not stated. For the audio unit to enforce when it allocates render resources.
    std::uint32_t maximumChannelCount() const { return maximumChannelCount_; }
    void setMaximumChannelCount(std::uint32_t count) { maximumChannelCount_ = count; }

 private:
    AUAudioUnitBus() = default;

    std::shared_ptr<AVAudioFormat> format_;
    std::uint32_t maximumChannelCount_ = 0;
};

}  // namespace platform
