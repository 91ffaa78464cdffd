#pragma once

#include <travesty/audio_processor.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "hosts/vst3/ReportedValues.h"

namespace qov::hosts::vst3 {

/// The points of a block's parameter queues, merged by frame. Audio thread; allocates nothing.
class ParameterPoints {
 public:
    /// A value of a parameter at a frame.
    struct Point {
        v3_param_id id;
        std::uint32_t frame;  ///< in the block; those outside count as at its nearer end
        double value;         ///< 0..1
    };

    /// Skips unknown parameters and those with their bit in `held`, bit a for address a. A host
    /// sends one queue a parameter; queues past that number are skipped.
    ParameterPoints(v3_param_changes** changes, std::uint32_t frames, std::uint32_t held);

    /// The earliest point that is left; of one frame, that of the earlier queue. Points of one
    /// queue keep their order. Null at the end.
    std::optional<Point> next();

 private:
    struct Queue {
        v3_param_value_queue** points;
        std::int32_t index, count;
        Point point;
    };
    bool advance(Queue& queue) const;

    const std::uint32_t frames_;
    std::array<Queue, addressLimit> queues_;
    std::size_t count_ = 0;  // of queues with points left
};

}  // namespace qov::hosts::vst3
