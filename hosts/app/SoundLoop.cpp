#include "hosts/app/SoundLoop.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>

namespace qov::app {

Sound Sound::atRate(double newRate) const {
    if (newRate == rate || left.empty()) return {left, right, newRate};
    const double ratio = newRate / rate;
    if (!src_is_valid_ratio(ratio)) return {{}, {}, newRate};
    const auto resampled = [&](const std::vector<float>& from) {
        std::vector<float> to(
            static_cast<std::size_t>(std::ceil(static_cast<double>(from.size()) * ratio)) + 1);
        SRC_DATA data{};
        data.data_in = from.data();
        data.data_out = to.data();
        data.input_frames = static_cast<long>(from.size());
        data.output_frames = static_cast<long>(to.size());
        data.src_ratio = ratio;
        to.resize(src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1) == 0
                      ? static_cast<std::size_t>(data.output_frames_gen)
                      : 0);
        return to;
    };
    return {resampled(left), resampled(right), newRate};
}

void SoundLoop::mixInto(float* left, float* right, std::uint32_t frames) {
    if (isEmpty() || !isPlaying()) return;
    for (std::uint32_t done = 0; done < frames;) {
        const auto run = std::min<std::size_t>(frames - done, sound_.left.size() - next_);
        for (std::size_t i = 0; i < run; ++i) {
            left[done + i] += sound_.left[next_ + i];
            right[done + i] += sound_.right[next_ + i];
        }
        done += static_cast<std::uint32_t>(run);
        next_ = (next_ + run) % sound_.left.size();
    }
}

}  // namespace qov::app
