#include "hosts/lv2/Plugin.h"

#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <set>
#include <utility>

#include "hosts/lv2/Editor.h"
#include "hosts/lv2/SavedPorts.h"
#include "hosts/lv2/features.h"
#include "hosts/window/makeInstance.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts::lv2 {

namespace {

constexpr std::uint32_t usualLongestBlock = 8192;
constexpr int standingStill = 10;  // idle calls without a block: a third of a second or so

/// All live plug-ins: an editor gets its plug-in as a bare address.
class LivePlugins {
 public:
    static LivePlugins& shared() {
        static auto& living = *new LivePlugins;
        return living;
    }
    void add(Plugin* plugin) {
        const std::lock_guard lock(mutex_);
        plugins_.insert(plugin);
    }
    void remove(Plugin* plugin) {
        const std::lock_guard lock(mutex_);
        plugins_.erase(plugin);
    }
    Plugin* find(const void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = plugins_.find(handle);
        return found == plugins_.end() ? nullptr : *found;
    }

 private:
    std::mutex mutex_;
    std::set<Plugin*, std::less<>> plugins_;
};

}  // namespace

std::unique_ptr<Plugin> Plugin::create(double sampleRate, const LV2_Feature* const* features,
                                       std::string* error) {
    if (!(sampleRate > 0) || !std::isfinite(sampleRate)) {
        *error = "the host's sample rate is " + std::to_string(sampleRate);
        return nullptr;
    }
    auto* const map = feature<LV2_URID_Map>(features, LV2_URID__map);
    const auto longest = option<std::int32_t>(features, LV2_BUF_SIZE__maxBlockLength);
    auto instance = makeInstance({}, error);
    if (!instance) return nullptr;
    const auto longestBlock =
        longest && *longest > 0 ? static_cast<std::uint32_t>(*longest) : usualLongestBlock;
    return std::unique_ptr<Plugin>(new Plugin(sampleRate, longestBlock, std::move(instance), map));
}

Plugin::Plugin(double sampleRate, std::uint32_t longestBlock, std::unique_ptr<Instance> instance,
               LV2_URID_Map* map)
    : sampleRate_(sampleRate),
      longestBlock_(longestBlock),
      instance_(std::move(instance)),
      controls_(sampleRate) {
    if (map) {
        urids_.emplace(*map, *instance_->audioUnit().parameterTree());
        answers_.emplace(*map, *urids_);
    }
    LivePlugins::shared().add(this);
}

Plugin::~Plugin() {
    LivePlugins::shared().remove(this);
    if (editor_) editor_->losePlugin();
}

Plugin* Plugin::find(const void* handle) {
    return LivePlugins::shared().find(handle);
}

// Sound

void Plugin::connect(std::uint32_t port, void* memory) {
    auto* const floats = static_cast<float*>(memory);
    switch (port) {
        case inLeft:
        case inRight:
            in_[port - inLeft] = floats;
            break;
        case outLeft:
        case outRight:
            out_[port - outLeft] = floats;
            break;
        case latencyPort:
            latency_ = floats;
            break;
        case eventsPort:
            messages_ = static_cast<const LV2_Atom_Sequence*>(memory);
            break;
        case notifyPort:
            notify_ = static_cast<LV2_Atom_Sequence*>(memory);
            break;
        default:
            if (port >= firstControl && port < latencyPort)
                controls_.connect(port - firstControl, floats);
    }
}

void Plugin::activate() {
    platform::NSError error;
    if (!instance_->activate(sampleRate_, longestBlock_, &error))
        std::fprintf(stderr, "kelvane: the effect does not run at %g Hz: %s\n", sampleRate_,
                     error.localizedDescription().c_str());
}

void Plugin::run(std::uint32_t frames) {
    hasRun_.store(true, std::memory_order_relaxed);
    instance_->begin(in_, out_, frames);
    controls_.take(
        frames, [this](std::uint64_t address, float value) { instance_->set(0, address, value); });
    if (urids_ && messages_) MessageReader(*urids_, *instance_, *answers_).read(*messages_);
    instance_->end();
    if (answers_ && notify_) answer(frames);
    if (latency_) *latency_ = static_cast<float>(instance_->latency());
}

void Plugin::answer(std::uint32_t frames) {
    if (!answers_->isAsked()) return answers_->writeNone(*notify_);
    std::array<float, parameterCount> values;
    for (std::uint64_t address = 0; address < parameterCount; ++address)
        values[address] = instance_->value(address);
    answers_->write(values, frames ? frames - 1 : 0, *notify_);
}

// For the editor

void Plugin::watch() {
    const bool hasRun = hasRun_.exchange(false, std::memory_order_relaxed);
    idleCalls_ = hasRun ? 0 : std::min(idleCalls_ + 1, standingStill);
}

void Plugin::portChanged(std::uint64_t address, float port) {
    if (idleCalls_ == standingStill && !controls_.isHeld(address))
        instance_->setValue(address, parameterOfPort(address, port));
}

// State

LV2_State_Status Plugin::save(LV2_State_Store_Function store, LV2_State_Handle handle) const {
    if (!urids_) return LV2_STATE_ERR_NO_FEATURE;
    const auto put = [&](LV2_URID key, const std::string& text) {
        return store(handle, key, text.c_str(), text.size() + 1, urids_->atomString,
                     LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
    };
    const auto status = put(urids_->state, instance_->saveState());
    return status == LV2_STATE_SUCCESS ? put(urids_->seenPorts, encodePorts(controls_.seen()))
                                       : status;
}

LV2_State_Status Plugin::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
    if (!urids_) return LV2_STATE_ERR_NO_FEATURE;
    const auto get = [&](LV2_URID key) -> std::optional<std::string_view> {
        std::size_t size = 0;
        std::uint32_t type = 0, flags = 0;
        const void* value = retrieve(handle, key, &size, &type, &flags);
        if (!value || type != urids_->atomString) return std::nullopt;
        const std::string_view text(static_cast<const char*>(value), size);
        return text.substr(0, text.find('\0'));
    };
    const auto state = get(urids_->state);
    if (state && !instance_->restoreState(*state)) return LV2_STATE_ERR_UNKNOWN;
    const auto ports = state ? get(urids_->seenPorts) : std::nullopt;
    controls_.setSeen(ports ? decodePorts(*ports) : ControlPorts::Values{});
    return LV2_STATE_SUCCESS;
}

}  // namespace qov::hosts::lv2
