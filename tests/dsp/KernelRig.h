#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dsp/ChainLoops.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "tests/support/Stereo.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

using Samples = std::vector<float>;

/// A kernel that is ready to render at a rate, on a clock that starts at 0.
class KernelRig {
 public:
    explicit KernelRig(double rate = 44100) {
        kernel.init(2, rate);
        kernel.reset();
    }

    /// Renders one cycle in place.
    void render(Samples& left, Samples& right, std::vector<platform::AURenderEvent> events = {}) {
        render(left.data(), right.data(), left.data(), right.data(),
               static_cast<std::uint32_t>(left.size()), linked(events));
    }

    void render(float* inLeft, float* inRight, float* left, float* right, std::uint32_t frames,
                const platform::AURenderEvent* events) {
        platform::StereoBufferList in(inLeft, inRight, frames), out(left, right, frames);
        kernel.setBuffers(in.list(), out.list());
        kernel.processWithEvents({.mSampleTime = static_cast<double>(now)}, frames, events);
        now += frames;
    }

    QOV_Kelvane_PluginDSPKernel kernel;
    std::int64_t now = 0;
};

/// Where the sound that two kernels hold for later differs; empty where it does not.
inline std::string differenceOfState(const QOV_Kelvane_PluginDSPKernel& a,
                                     const QOV_Kelvane_PluginDSPKernel& b) {
    const auto frames = [](const auto& buffer) { return static_cast<std::size_t>(buffer.size); };
    return difference("line", a.latency.data, b.latency.data, frames(a.latency)) +
           difference("left", a.circular.data[0], b.circular.data[0], frames(a.circular)) +
           difference("right", a.circular.data[1], b.circular.data[1], frames(a.circular));
}

}  // namespace qov::test
