#include "hosts/vst3/ParameterPoints.h"

#include <algorithm>
#include <cmath>

namespace qov::hosts::vst3 {

namespace {

/// Calls visit(id, queue) for each queue of a parameter that there is and that is not held.
template <class Visit>
void forEachQueue(v3_param_changes** changes, std::uint32_t held, Visit&& visit) {
    if (!changes) return;
    const auto count = v3_cpp_obj(changes)->get_param_count(changes);
    for (std::int32_t i = 0; i < count; ++i) {
        auto** queue = v3_cpp_obj(changes)->get_param_data(changes, i);
        if (!queue) continue;
        const auto id = v3_cpp_obj(queue)->get_param_id(queue);
        if (ToldValues::has(id) && !(held >> id & 1)) visit(id, queue);
    }
}

/// A point whose value is a number, brought into 0..1 and the block.
bool readPoint(v3_param_value_queue** queue, std::int32_t index, std::uint32_t frames,
               std::uint32_t& frame, double& value) {
    std::int32_t offset = 0;
    value = std::nan("");
    if (v3_cpp_obj(queue)->get_point(queue, index, &offset, &value) != V3_OK) return false;
    if (std::isnan(value)) return false;
    value = std::clamp(value, 0.0, 1.0);
    frame = std::min(static_cast<std::uint32_t>(std::max(offset, 0)), frames ? frames - 1 : 0);
    return true;
}

}  // namespace

std::uint32_t ParameterPoints::tell(v3_param_changes** changes, std::uint32_t frames,
                                    std::uint32_t held, ToldValues& told) {
    std::uint32_t addresses = 0;
    forEachQueue(changes, held, [&](v3_param_id id, v3_param_value_queue** queue) {
        std::uint32_t latest = 0;
        const auto count = v3_cpp_obj(queue)->get_point_count(queue);
        for (std::int32_t i = 0; i < count; ++i) {
            std::uint32_t frame;
            double value;
            if (!readPoint(queue, i, frames, frame, value) || frame < latest) continue;
            latest = frame;
            told.set(id, value);
            addresses |= 1u << id;
        }
    });
    return addresses;
}

std::uint32_t ParameterPoints::collect(v3_param_changes** changes, std::uint32_t held,
                                       std::uint32_t frames, std::uint32_t begin,
                                       std::uint32_t end) {
    while (!gather(changes, held, frames, begin, end)) end = begin + (end - begin) / 2;
    return end;
}

bool ParameterPoints::gather(v3_param_changes** changes, std::uint32_t held, std::uint32_t frames,
                             std::uint32_t begin, std::uint32_t end) {
    count_ = 0;
    bool fits = true;
    forEachQueue(changes, held, [&](v3_param_id id, v3_param_value_queue** queue) {
        const auto count = v3_cpp_obj(queue)->get_point_count(queue);
        for (std::int32_t i = 0; i < count && fits; ++i) {
            std::uint32_t frame;
            double value;
            if (!readPoint(queue, i, frames, frame, value)) continue;
            if (frame < begin || frame >= end) continue;
            fits = add(frame - begin, id, static_cast<float>(value), end - begin <= 1);
        }
    });
    return fits;
}

bool ParameterPoints::add(std::uint32_t frame, v3_param_id id, float value, bool isOnlyFrame) {
    if (count_ == capacity) {
        if (!isOnlyFrame) return false;
        keepLatest();
    }
    events_[count_++] = HostEvent::parameter(frame, id, value);
    return true;
}

/// Of events of one frame, the last of each parameter.
void ParameterPoints::keepLatest() {
    std::uint32_t seen = 0;
    auto kept = events_.end();
    for (auto event = events_.end(); event != events_.begin();) {
        --event;
        const auto bit = 1u << event->address;
        if (!(seen & bit)) *--kept = *event;
        seen |= bit;
    }
    count_ = static_cast<std::size_t>(events_.end() - kept);
    std::copy(kept, events_.end(), events_.begin());
}

}  // namespace qov::hosts::vst3
