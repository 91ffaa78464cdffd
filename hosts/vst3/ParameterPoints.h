#pragma once

#include <travesty/audio_processor.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "hosts/instance/HostEvent.h"
#include "hosts/vst3/ToldValues.h"

namespace qov::hosts::vst3 {

/// The points of a block's parameter queues as events, those outside of the block at its nearer
/// end. `held` has a bit for each address that is passed over. Audio thread; allocates nothing.
class ParameterPoints {
 public:
    /// Notes the latest value of each queue. Returns a bit for each address that has one.
    static std::uint32_t tell(v3_param_changes** changes, std::uint32_t frames, std::uint32_t held,
                              ToldValues& told);

    /// Takes the points that belong into [begin, end) of a block of `frames` frames. Frames of the
    /// events count from `begin`. Returns the end of the stretch that they cover: `end`, or an
    /// earlier frame if there are more than fit.
    std::uint32_t collect(v3_param_changes** changes, std::uint32_t held, std::uint32_t frames,
                          std::uint32_t begin, std::uint32_t end);

    /// Valid until the next collect.
    std::span<const HostEvent> events() const { return {events_.data(), count_}; }

 private:
    static constexpr std::size_t capacity = 4096;

    bool gather(v3_param_changes** changes, std::uint32_t held, std::uint32_t frames,
                std::uint32_t begin, std::uint32_t end);
    bool add(std::uint32_t frame, v3_param_id id, float value, bool isOnlyFrame);
    void keepLatest();

    std::vector<HostEvent> events_ = std::vector<HostEvent>(capacity);
    std::size_t count_ = 0;
};

}  // namespace qov::hosts::vst3
