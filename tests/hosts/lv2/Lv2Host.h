#pragma once

#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "hosts/lv2/Ports.h"
#include "hosts/lv2/Uris.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

/// Numbers for URIs, given out by the host. Any thread.
class UridMap {
 public:
    LV2_URID operator[](const std::string& text) {
        const std::lock_guard lock(mutex_);
        return numbers_.try_emplace(text, static_cast<LV2_URID>(numbers_.size() + 1)).first->second;
    }
    std::string uri(LV2_URID number) {
        const std::lock_guard lock(mutex_);
        for (const auto& [text, known] : numbers_)
            if (known == number) return text;
        return {};
    }
    LV2_URID_Map feature{this, [](LV2_URID_Map_Handle self, const char* uri) {
                             return (*static_cast<UridMap*>(self))[uri];
                         }};

 private:
    std::mutex mutex_;
    std::map<std::string, LV2_URID> numbers_;
};

/// An LV2 host's side of one plug-in: memory for every port, features, state. One audio thread, one
/// main thread, as the format has it; the controls belong to the audio thread.
class Lv2Host {
 public:
    struct Options {
        double rate = 48000;
        bool hasMap = true;
        std::int32_t longestBlock = 0;  // told to the plug-in unless 0
    };
    /// Instantiates; the handle is null where the plug-in refuses. The descriptor outlives the
    /// host.
    Lv2Host(const LV2_Descriptor& descriptor, const Options& options) : descriptor_(descriptor) {
        lv2_atom_forge_init(&forge_, &urids.feature);
        const LV2_Feature map{LV2_URID__map, &urids.feature};
        LV2_Options_Option known[] = {
            {LV2_OPTIONS_INSTANCE, 0, urids[LV2_BUF_SIZE__maxBlockLength],
             sizeof options.longestBlock, urids[LV2_ATOM__Int], &options.longestBlock},
            {}};
        const LV2_Feature optional{LV2_OPTIONS__options, known};
        const LV2_Feature* const features[] = {options.hasMap ? &map : nullptr,
                                               options.longestBlock ? &optional : nullptr, nullptr};
        handle = descriptor.instantiate(&descriptor, options.rate, "", features);
        if (!handle) return;
        for (std::uint32_t i = 0; i < controls.size(); ++i)
            connect(hosts::lv2::firstControl + i, &controls[i]);
        connect(hosts::lv2::latencyPort, &latency);
        connect(hosts::lv2::notifyPort, notify.data());
        send({});
        takeAnswers();
    }
    ~Lv2Host() {
        if (handle) descriptor_.cleanup(handle);
    }
    Lv2Host(const Lv2Host&) = delete;
    Lv2Host& operator=(const Lv2Host&) = delete;

    void activate() { descriptor_.activate(handle); }
    void deactivate() { descriptor_.deactivate(handle); }
    void connect(std::uint32_t port, void* memory) {
        descriptor_.connect_port(handle, port, memory);
    }
    void connectAudio(const float* const (&input)[2], float* const (&output)[2]) {
        for (std::uint32_t side = 0; side < 2; ++side) {
            connect(hosts::lv2::inLeft + side, const_cast<float*>(input[side]));
            connect(hosts::lv2::outLeft + side, output[side]);
        }
    }

    /// Messages of the next run(), in this order; parameters go as patch:Set.
    void send(std::span<const platform::AURenderEvent> events) {
        constexpr std::size_t ofAnEvent = 16, spare = 128;  // words
        messages_.resize(std::max(messages_.size(), ofAnEvent * events.size() + spare));
        connect(hosts::lv2::eventsPort, messages_.data());
        lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<std::uint8_t*>(messages_.data()),
                                  8 * static_cast<std::uint32_t>(messages_.size()));
        lv2_atom_forge_sequence_head(&forge_, &sequence_, 0);
        for (const auto& event : events) {
            const auto frame = static_cast<std::uint32_t>(event.head.eventSampleTime);
            const auto& midi = event.MIDI;
            if (!isMidi(event)) {
                const auto* parameter = parameterAt(event.parameter.parameterAddress);
                const auto uri =
                    hosts::lv2::parameterUri(parameter ? parameter->identifier : "kUnknown");
                add(LV2_PATCH__Set, frame, uri, event.parameter.value);
                continue;
            }
            lv2_atom_forge_frame_time(&forge_, frame);
            lv2_atom_forge_atom(&forge_, midi.length, urids[LV2_MIDI__MidiEvent]);
            lv2_atom_forge_write(&forge_, midi.data, midi.length);
        }
    }
    /// One message more: patch:Set with its value, or patch:Get, of all where there is no property.
    void add(const char* kind, std::uint32_t frame, const std::string& property,
             std::optional<float> value = {}, int sequenceNumber = 0) {
        const auto key = [&](const char* uri) { lv2_atom_forge_key(&forge_, urids[uri]); };
        LV2_Atom_Forge_Frame object;
        lv2_atom_forge_frame_time(&forge_, frame);
        lv2_atom_forge_object(&forge_, &object, 0, urids[kind]);
        key(LV2_PATCH__sequenceNumber);
        lv2_atom_forge_int(&forge_, sequenceNumber);
        if (!property.empty()) {
            key(LV2_PATCH__property);
            lv2_atom_forge_urid(&forge_, urids[property]);
        }
        if (value) {
            key(LV2_PATCH__value);
            lv2_atom_forge_float(&forge_, *value);
        }
        lv2_atom_forge_pop(&forge_, &object);
    }
    /// The sequence that is sent, with its head.
    std::vector<std::uint8_t> messageBytes() const {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(messages_.data());
        return {bytes, bytes + forge_.offset};
    }
    /// Allocates nothing.
    void run(std::uint32_t frames) { descriptor_.run(handle, frames); }
    /// The plug-in's answers of the last run(), each in a line; prepares the port for the next one.
    std::string takeAnswers() {
        std::string answers;
        auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(notify.data());
        if (sequence->atom.type == urids[LV2_ATOM__Sequence]) {
            LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
                answers += textOf(*reinterpret_cast<const LV2_Atom_Object*>(&event->body)) + '\n';
            }
        }
        sequence->atom = {hosts::lv2::notifyBytes, urids[LV2_ATOM__Chunk]};
        return answers;
    }

    /// Properties by their URIs.
    using State = std::map<std::string, std::string>;
    State save() {
        saved_.clear();
        state().save(
            handle,
            [](LV2_State_Handle to, std::uint32_t key, const void* value, std::size_t size,
               std::uint32_t, std::uint32_t) {
                auto& host = *static_cast<Lv2Host*>(to);
                host.saved_[host.urids.uri(key)] = {static_cast<const char*>(value), size};
                return LV2_STATE_SUCCESS;
            },
            this, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, nullptr);
        return std::move(saved_);
    }
    bool restore(const State& properties) {
        restored_ = &properties;
        return state().restore(
                   handle,
                   [](LV2_State_Handle from, std::uint32_t key, std::size_t* size,
                      std::uint32_t* type, std::uint32_t* flags) -> const void* {
                       auto& host = *static_cast<Lv2Host*>(from);
                       const auto found = host.restored_->find(host.urids.uri(key));
                       if (found == host.restored_->end()) return nullptr;
                       *size = found->second.size();
                       *type = host.urids[LV2_ATOM__String];
                       *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
                       return found->second.data();
                   },
                   this, 0, nullptr) == LV2_STATE_SUCCESS;
    }

    UridMap urids;
    LV2_Handle handle = nullptr;
    std::array<float, parameterCount> controls{0.5F, 0.5F, 0, 0, 0, 0, 0, 1};
    float latency = -1;
    std::vector<std::uint64_t> notify =  // the port's memory
        std::vector<std::uint64_t>((sizeof(LV2_Atom) + hosts::lv2::notifyBytes) / 8);

 private:
    std::string nameOf(LV2_URID number) {
        const auto uri = urids.uri(number);
        return uri.substr(uri.find('#') + 1);
    }
    std::string textOf(const LV2_Atom_Object& object) {
        auto text = nameOf(object.body.otype);
        LV2_ATOM_OBJECT_FOREACH(&object, item) {
            const auto* content = &item->value + 1;
            const auto type = item->value.type;
            text += ' ' + nameOf(item->key) + ' ';
            if (type == urids[LV2_ATOM__Float])
                text += std::to_string(*reinterpret_cast<const float*>(content));
            if (type == urids[LV2_ATOM__Int])
                text += std::to_string(*reinterpret_cast<const int*>(content));
            if (type == urids[LV2_ATOM__URID])
                text += nameOf(*reinterpret_cast<const LV2_URID*>(content));
            if (type == urids[LV2_ATOM__Object])
                text += textOf(reinterpret_cast<const LV2_Atom_Object&>(item->value));
        }
        return text;
    }
    const LV2_State_Interface& state() const {
        return *static_cast<const LV2_State_Interface*>(
            descriptor_.extension_data(LV2_STATE__interface));
    }

    const LV2_Descriptor& descriptor_;
    State saved_;
    const State* restored_ = nullptr;
    LV2_Atom_Forge forge_{};
    LV2_Atom_Forge_Frame sequence_{};
    std::vector<std::uint64_t> messages_;
};

}  // namespace qov::test
