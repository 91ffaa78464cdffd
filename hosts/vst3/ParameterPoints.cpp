#include "hosts/vst3/ParameterPoints.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace qov::hosts::vst3 {

ParameterPoints::ParameterPoints(v3_param_changes** changes, std::uint32_t frames,
                                 std::uint32_t held)
    : frames_(frames) {
    const auto count = changes ? v3_cpp_obj(changes)->get_param_count(changes) : 0;
    for (std::int32_t i = 0; i < count && count_ < queues_.size(); ++i) {
        auto** points = v3_cpp_obj(changes)->get_param_data(changes, i);
        if (!points) continue;
        const auto id = v3_cpp_obj(points)->get_param_id(points);
        if (!ReportedValues::has(id) || held >> id & 1) continue;
        auto& queue = queues_[count_];
        queue = {points, 0, v3_cpp_obj(points)->get_point_count(points), {id, 0, 0}};
        if (advance(queue)) ++count_;
    }
}

std::optional<ParameterPoints::Point> ParameterPoints::next() {
    if (count_ == 0) return std::nullopt;
    const auto end = queues_.begin() + static_cast<std::ptrdiff_t>(count_);
    const auto earliest = std::min_element(
        queues_.begin(), end,
        [](const Queue& a, const Queue& b) { return a.point.frame < b.point.frame; });
    const auto point = earliest->point;
    if (!advance(*earliest)) {
        std::copy(std::next(earliest), end, earliest);
        --count_;
    }
    return point;
}

/// To the next point of the queue that is a number. False at its end.
bool ParameterPoints::advance(Queue& queue) const {
    while (queue.index < queue.count) {
        std::int32_t offset = 0;
        double value = std::nan("");
        const auto result =
            v3_cpp_obj(queue.points)->get_point(queue.points, queue.index++, &offset, &value);
        if (result != V3_OK || std::isnan(value)) continue;
        queue.point.frame = std::min(static_cast<std::uint32_t>(std::max(offset, 0)),
                                     std::max(frames_, std::uint32_t{1}) - 1);
        queue.point.value = std::clamp(value, 0.0, 1.0);
        return true;
    }
    return false;
}

}  // namespace qov::hosts::vst3
