#include "hosts/lv2/Plugin.h"

#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

#include "hosts/instance/guarded.h"
#include "hosts/instance/made.h"
#include "hosts/instance/product.h"
#include "hosts/lv2/bodyFunctions.h"
#include "hosts/lv2/features.h"
#include "hosts/window/makeInstance.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts::lv2 {

namespace {

constexpr std::uint32_t usualLongestBlock = 8192;
constexpr int standingStill = 10;  // idle calls without a block: a third of a second or so

/// The addresses of all live plug-ins: a host gives an editor its plug-in as a bare address.
struct LivePlugins {
    std::mutex mutex;
    std::set<const void*> addresses;
};
LivePlugins& livePlugins() {
    static auto& live = *new LivePlugins;  // for plug-ins that are deleted at the process's end
    return live;
}

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
    if (map) messages_.emplace(*map, *instance_);
    const std::lock_guard lock(livePlugins().mutex);
    livePlugins().addresses.insert(this);
}

Plugin::~Plugin() {
    {
        const std::lock_guard lock(livePlugins().mutex);
        livePlugins().addresses.erase(this);
    }
    if (onDelete) onDelete();
}

Plugin* Plugin::find(const void* handle) {
    const std::lock_guard lock(livePlugins().mutex);
    const bool isLive = livePlugins().addresses.contains(handle);
    return isLive ? static_cast<Plugin*>(const_cast<void*>(handle)) : nullptr;
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
            events_ = static_cast<const LV2_Atom_Sequence*>(memory);
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
    if (messages_ && events_) messages_->read(*events_);
    instance_->end();
    if (messages_ && notify_) messages_->answer(frames ? frames - 1 : 0, *notify_);
    if (latency_) *latency_ = static_cast<float>(instance_->latency());
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
    if (!messages_) return LV2_STATE_ERR_NO_FEATURE;
    const auto& urids = messages_->urids;
    const auto put = [&](LV2_URID key, const std::string& text) {
        return store(handle, key, text.c_str(), text.size() + 1, urids.atomString,
                     LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
    };
    const auto status = put(urids.state, instance_->saveState());
    return status == LV2_STATE_SUCCESS ? put(urids.seenPorts, controls_.save()) : status;
}

LV2_State_Status Plugin::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
    if (!messages_) return LV2_STATE_ERR_NO_FEATURE;
    const auto& urids = messages_->urids;
    const auto get = [&](LV2_URID key) -> std::optional<std::string_view> {
        std::size_t size = 0;
        std::uint32_t type = 0, flags = 0;
        const void* value = retrieve(handle, key, &size, &type, &flags);
        if (!value || type != urids.atomString) return std::nullopt;
        const std::string_view text(static_cast<const char*>(value), size);
        return text.substr(0, text.find('\0'));
    };
    const auto state = get(urids.state);
    if (state && !instance_->restoreState(*state)) return LV2_STATE_ERR_UNKNOWN;
    const auto ports = state ? get(urids.seenPorts) : std::nullopt;
    controls_.restore(ports.value_or(""));
    return LV2_STATE_SUCCESS;
}

namespace {

Plugin& plugin(LV2_Handle handle) {
    return *static_cast<Plugin*>(handle);
}

LV2_Handle instantiate(const LV2_Descriptor*, double sampleRate, const char*,
                       const LV2_Feature* const* features) {
    return made<Plugin>(
        [&](std::string* error) { return Plugin::create(sampleRate, features, error); });
}

LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state,
                      std::uint32_t, const LV2_Feature* const*) {
    return guarded(LV2_STATE_ERR_NO_SPACE, [&] { return plugin(handle).save(store, state); });
}

LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle state, std::uint32_t, const LV2_Feature* const*) {
    return guarded(LV2_STATE_ERR_UNKNOWN, [&] { return plugin(handle).restore(retrieve, state); });
}

const void* extensionData(const char* uri) {
    static const LV2_State_Interface state{save, restore};
    return uri && std::strcmp(uri, LV2_STATE__interface) == 0 ? &state : nullptr;
}

const LV2_Descriptor descriptor{
    product::uri,
    instantiate,
    [](LV2_Handle handle, std::uint32_t port, void* memory) {
        guarded([&] { plugin(handle).connect(port, memory); });
    },
    [](LV2_Handle handle) { guarded([&] { plugin(handle).activate(); }); },
    [](LV2_Handle handle, std::uint32_t frames) { guarded([&] { plugin(handle).run(frames); }); },
    [](LV2_Handle handle) { guarded([&] { plugin(handle).deactivate(); }); },
    [](LV2_Handle handle) { delete &plugin(handle); },
    extensionData,
};

}  // namespace
}  // namespace qov::hosts::lv2

[[gnu::visibility("default")]] const LV2_Descriptor* kelvane_lv2_plugin() {
    return &qov::hosts::lv2::descriptor;
}
