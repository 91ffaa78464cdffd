#pragma once

#include <poll.h>
#include <travesty/audio_processor.h>
#include <travesty/edit_controller.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/instance/EditExchange.h"
#include "hosts/vst3/Interface.h"

/// The host's side of the format's interfaces. These objects belong to their makers; reference
/// counts do not keep them.
namespace qov::test::vst3 {

using hosts::EditExchange;
using hosts::vst3::entry;
using hosts::vst3::Face;
using hosts::vst3::Held;
using hosts::vst3::returns;
using hosts::vst3::Unknown;
using hosts::vst3::unknownEntries;

/// Holds an object that the plug-in has made, and takes over its maker's reference.
template <class Interface>
Held<Interface> adopted(Interface** made) {
    Held<Interface> held(made);
    if (made) v3_cpp_obj_unref(made);
    return held;
}

class Owned : public Unknown {
 protected:
    void unheld() noexcept override {}
    void* find(const std::uint8_t*) noexcept override { return nullptr; }
};

/// A block's points of one parameter.
class Queue final : public Owned {
 public:
    explicit Queue(v3_param_id id) : id_(id) {}
    void add(std::int32_t frame, double value) { points_.emplace_back(frame, value); }
    std::function<void()> whenRead;
    v3_param_value_queue** face() { return reinterpret_cast<v3_param_value_queue**>(&face_); }

 private:
    v3_param_id getParamId() { return id_; }
    std::int32_t getPointCount() { return static_cast<std::int32_t>(points_.size()); }
    v3_result getPoint(std::int32_t index, std::int32_t* frame, double* value) {
        if (whenRead) whenRead();
        *frame = points_[static_cast<std::size_t>(index)].first;
        *value = points_[static_cast<std::size_t>(index)].second;
        return V3_OK;
    }
    static constexpr v3_param_value_queue_cpp table{
        unknownEntries,
        {entry<&Queue::getParamId>, entry<&Queue::getPointCount>, entry<&Queue::getPoint>,
         returns<V3_FALSE>}};

    Face face_{&table, this, this};
    v3_param_id id_;
    std::vector<std::pair<std::int32_t, double>> points_;
};

class Changes final : public Owned {
 public:
    void clear() { queues_.clear(); }
    Queue& add(v3_param_id id, std::uint32_t frame, double value) {
        auto& queue = queues_[id];
        if (!queue) queue = std::make_unique<Queue>(id);
        queue->add(static_cast<std::int32_t>(frame), value);
        return *queue;
    }
    v3_param_changes** face() { return reinterpret_cast<v3_param_changes**>(&face_); }

 private:
    std::int32_t getParamCount() { return static_cast<std::int32_t>(queues_.size()); }
    v3_param_value_queue** getParamData(std::int32_t index) {
        return std::next(queues_.begin(), index)->second->face();
    }

    static constexpr v3_param_changes_cpp table{
        unknownEntries,
        {entry<&Changes::getParamCount>, entry<&Changes::getParamData>, returns<nullptr>}};

    Face face_{&table, this, this};
    std::map<v3_param_id, std::unique_ptr<Queue>> queues_;
};

/// A state in a project, read and written a few bytes at a time.
class Stream final : public Owned {
 public:
    explicit Stream(std::string_view content = {}) : bytes(content) {}
    v3_bstream** face() { return reinterpret_cast<v3_bstream**>(&face_); }
    std::string bytes;

 private:
    static constexpr std::int32_t most = 7;

    v3_result read(void* to, std::int32_t size, std::int32_t* count) {
        const auto left = static_cast<std::int32_t>(bytes.size() - at_);
        *count = std::min({size, left, most});
        std::memcpy(to, bytes.data() + at_, static_cast<std::size_t>(*count));
        at_ += static_cast<std::size_t>(*count);
        return at_ < bytes.size() ? V3_OK : V3_FALSE;
    }
    v3_result write(void* from, std::int32_t size, std::int32_t* count) {
        *count = std::min(size, most);
        bytes.append(static_cast<const char*>(from), static_cast<std::size_t>(*count));
        return V3_OK;
    }

    static constexpr struct : v3_funknown {
        v3_bstream stream;
    } table{unknownEntries,
            {entry<&Stream::read>, entry<&Stream::write>, returns<V3_FALSE>, returns<V3_FALSE>}};

    Face face_{&table, this, this};
    std::size_t at_ = 0;
};

/// The host as the plug-in sees it: component handler, run loop, frame of the view.
class Host final : public Owned {
 public:
    v3_funknown** face() { return reinterpret_cast<v3_funknown**>(&loop_); }
    v3_component_handler** handler() { return reinterpret_cast<v3_component_handler**>(&handler_); }
    v3_plugin_frame** frame() { return reinterpret_cast<v3_plugin_frame**>(&frame_); }

    void turn() {
        for (auto* timer : std::vector(timers_)) v3_cpp_obj(timer)->on_timer(timer);
        for (const auto& [events, descriptor] : std::vector(descriptors_)) {
            pollfd ready{.fd = descriptor, .events = POLLIN, .revents = 0};
            if (poll(&ready, 1, 0) == 1) v3_cpp_obj(events)->on_fd_is_set(events, descriptor);
        }
    }

    std::vector<EditExchange::Edit> edits;
    int groups = 0;  // of edits, that have ended
    bool latencyChanged = false;
    std::size_t timers() const { return timers_.size(); }

 private:
    void* find(const std::uint8_t* id) noexcept override {
        if (v3_tuid_match(id, v3_component_handler2_iid)) return &groups_;
        return v3_tuid_match(id, v3_run_loop_iid) ? &loop_ : nullptr;
    }

    using Kind = EditExchange::Edit::Kind;

    v3_result beginEdit(v3_param_id id) { return note({Kind::begin, id, 0}); }
    v3_result performEdit(v3_param_id id, double value) {
        return note({Kind::value, id, static_cast<float>(value)});
    }
    v3_result endEdit(v3_param_id id) { return note({Kind::end, id, 0}); }
    v3_result finishGroup() {
        ++groups;
        return V3_OK;
    }
    v3_result note(const EditExchange::Edit& edit) {
        edits.push_back(edit);
        return V3_OK;
    }
    v3_result restartComponent(std::int32_t flags) {
        if (flags & V3_RESTART_LATENCY_CHANGED) latencyChanged = true;
        return V3_OK;
    }

    v3_result registerEventHandler(v3_event_handler** handler, int descriptor) {
        descriptors_.emplace_back(handler, descriptor);
        return V3_OK;
    }
    v3_result unregisterEventHandler(v3_event_handler** handler) {
        std::erase_if(descriptors_, [&](const auto& entry) { return entry.first == handler; });
        return V3_OK;
    }
    v3_result registerTimer(v3_timer_handler** handler, std::uint64_t) {
        timers_.push_back(handler);
        return V3_OK;
    }
    v3_result unregisterTimer(v3_timer_handler** handler) {
        std::erase(timers_, handler);
        return V3_OK;
    }

    v3_result resizeView(v3_plugin_view** view, v3_view_rect* rect) {
        return v3_cpp_obj(view)->on_size(view, rect);
    }

    static constexpr struct : v3_funknown {
        v3_component_handler handler;
    } handlerTable{unknownEntries,
                   {entry<&Host::beginEdit>, entry<&Host::performEdit>, entry<&Host::endEdit>,
                    entry<&Host::restartComponent>}};
    static constexpr struct : v3_funknown {
        v3_component_handler2 handler;
    } groupTable{unknownEntries,
                 {returns<V3_OK>, returns<V3_OK>, returns<V3_OK>, entry<&Host::finishGroup>}};
    static constexpr v3_run_loop_cpp loopTable{
        unknownEntries,
        {entry<&Host::registerEventHandler>, entry<&Host::unregisterEventHandler>,
         entry<&Host::registerTimer>, entry<&Host::unregisterTimer>}};
    static constexpr v3_plugin_frame_cpp frameTable{unknownEntries, {entry<&Host::resizeView>}};

    Face handler_{&handlerTable, this, this};
    Face loop_{&loopTable, this, this};
    Face groups_{&groupTable, this, this};
    Face frame_{&frameTable, this, this};
    std::vector<v3_timer_handler**> timers_;
    std::vector<std::pair<v3_event_handler**, int>> descriptors_;
};

}  // namespace qov::test::vst3
