#include "tests/hosts/lv2/Lv2Host.h"

#include <lv2/atom/util.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>

#include <cstring>
#include <utility>

#include "hosts/instance/product.h"
#include "tests/support/renderEvents.h"

namespace qov::test {

using hosts::EditExchange;
using platform::AURenderEvent;

namespace {

constexpr std::size_t capacity = 1 << 20;  // bytes

const std::string uri = hosts::product::uri;
const char* const names[] = {"stereo_width",   "panorama",     "phase_shift", "swap_channels",
                             "invert_channel", "recover_mono", "test_mono",   "bypass"};

}  // namespace

LV2_URID UridMap::operator[](const std::string& text) {
    const std::lock_guard lock(mutex_);
    return numbers_.try_emplace(text, static_cast<LV2_URID>(numbers_.size() + 1)).first->second;
}

std::string UridMap::uri(LV2_URID number) {
    const std::lock_guard lock(mutex_);
    for (const auto& [text, known] : numbers_)
        if (known == number) return text;
    return {};
}

// The plug-in

Lv2Host::Lv2Host(const LV2_Descriptor& descriptor, const Options& options)
    : controls{0.5F, 0.5F, 0, 0, 0, 0, 0, 1},
      descriptor_(descriptor),
      messages_(capacity / 8),
      notify_((sizeof(LV2_Atom) + hosts::lv2::notifyBytes) / 8) {
    for (const auto* name : names) parameters_.push_back(uri + "#" + name);
    lv2_atom_forge_init(&forge_, urids_.feature());
    const LV2_Feature map{LV2_URID__map, urids_.feature()};
    const LV2_Feature* const features[] = {options.hasMap ? &map : nullptr, nullptr};
    handle_ = descriptor.instantiate(&descriptor, options.rate, "", features);
    if (!handle_) return;
    for (std::uint32_t i = 0; i < controls.size(); ++i)
        descriptor.connect_port(handle_, hosts::lv2::firstControl + i, &controls[i]);
    descriptor.connect_port(handle_, hosts::lv2::latencyPort, &latency);
    descriptor.connect_port(handle_, hosts::lv2::eventsPort, messages_.data());
    descriptor.connect_port(handle_, hosts::lv2::notifyPort, notify_.data());
    beginSequence();
    takeAnswers();
}

Lv2Host::~Lv2Host() {
    destroy();
}

void Lv2Host::destroy() {
    if (handle_) descriptor_.cleanup(std::exchange(handle_, nullptr));
}

void Lv2Host::connectAudio(const float* const (&input)[2], float* const (&output)[2]) {
    for (std::uint32_t side = 0; side < 2; ++side) {
        descriptor_.connect_port(handle_, hosts::lv2::inLeft + side,
                                 const_cast<float*>(input[side]));
        descriptor_.connect_port(handle_, hosts::lv2::outLeft + side, output[side]);
    }
}

void Lv2Host::beginSequence() {
    lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<std::uint8_t*>(messages_.data()), capacity);
    lv2_atom_forge_sequence_head(&forge_, &sequence_, 0);
}

void Lv2Host::send(std::span<const AURenderEvent> events) {
    beginSequence();
    for (const auto& event : events) {
        const auto frame = static_cast<std::uint32_t>(event.head.eventSampleTime);
        if (!isMidi(event)) {
            const auto address = event.parameter.parameterAddress;
            const auto parameter =
                address < parameters_.size() ? parameters_[address] : uri + "#unknown";
            send(Patch{.kind = "Set", .values = {{parameter, event.parameter.value}}}, frame);
            continue;
        }
        const auto& midi = event.MIDI;
        lv2_atom_forge_frame_time(&forge_, frame);
        lv2_atom_forge_atom(&forge_, midi.length, urids_[LV2_MIDI__MidiEvent]);
        lv2_atom_forge_write(&forge_, midi.data, midi.length);
    }
}

void Lv2Host::send(const Patch& patch, std::uint32_t frame) {
    const auto key = [&](const char* text) { lv2_atom_forge_key(&forge_, urids_[text]); };
    LV2_Atom_Forge_Frame object, body;
    lv2_atom_forge_frame_time(&forge_, frame);
    lv2_atom_forge_object(&forge_, &object, 0, urids_[LV2_PATCH_PREFIX + patch.kind]);
    if (patch.sequenceNumber) {
        key(LV2_PATCH__sequenceNumber);
        lv2_atom_forge_int(&forge_, patch.sequenceNumber);
    }
    if (patch.kind == "Put") {
        key(LV2_PATCH__body);
        lv2_atom_forge_object(&forge_, &body, 0, 0);
    }
    for (const auto& [parameter, value] : patch.values) {
        if (patch.kind == "Put") {
            key(parameter.c_str());
        } else {
            key(LV2_PATCH__property);
            lv2_atom_forge_urid(&forge_, urids_[parameter]);
            key(LV2_PATCH__value);
        }
        lv2_atom_forge_float(&forge_, value);
    }
    if (!patch.property.empty()) {
        key(LV2_PATCH__property);
        lv2_atom_forge_urid(&forge_, urids_[patch.property]);
    }
    if (patch.kind == "Put") lv2_atom_forge_pop(&forge_, &body);
    lv2_atom_forge_pop(&forge_, &object);
}

std::vector<std::uint8_t> Lv2Host::messageBytes() const {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(messages_.data());
    return {bytes, bytes + forge_.offset};
}

std::vector<Patch> Lv2Host::takeAnswers() {
    std::vector<Patch> patches;
    auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(notify_.data());
    if (sequence->atom.type == urids_[LV2_ATOM__Sequence]) {
        LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
            const auto* object = reinterpret_cast<const LV2_Atom_Object*>(&event->body);
            Patch patch{.kind =
                            urids_.uri(object->body.otype).substr(std::strlen(LV2_PATCH_PREFIX))};
            const LV2_Atom_URID* property = nullptr;
            const LV2_Atom_Float* value = nullptr;
            const LV2_Atom_Object* body = nullptr;
            const LV2_Atom_Int* number = nullptr;
            lv2_atom_object_get(object, urids_[LV2_PATCH__property], &property,
                                urids_[LV2_PATCH__value], &value, urids_[LV2_PATCH__body], &body,
                                urids_[LV2_PATCH__sequenceNumber], &number, 0);
            if (number) patch.sequenceNumber = number->body;
            if (property && value) patch.values[urids_.uri(property->body)] = value->body;
            if (body) {
                LV2_ATOM_OBJECT_FOREACH(body, each)
                patch.values[urids_.uri(each->key)] =
                    reinterpret_cast<const LV2_Atom_Float*>(&each->value)->body;
            }
            patches.push_back(patch);
        }
    }
    sequence->atom = {hosts::lv2::notifyBytes, urids_[LV2_ATOM__Chunk]};
    return patches;
}

// State

Lv2Host::State Lv2Host::save() {
    const auto& interface =
        *static_cast<const LV2_State_Interface*>(descriptor_.extension_data(LV2_STATE__interface));
    std::pair<UridMap*, State> saved{&urids_, {}};
    interface.save(
        handle_,
        [](LV2_State_Handle to, std::uint32_t key, const void* value, std::size_t size,
           std::uint32_t, std::uint32_t) {
            auto& [urids, state] = *static_cast<std::pair<UridMap*, State>*>(to);
            state[urids->uri(key)] = std::string(static_cast<const char*>(value), size);
            return LV2_STATE_SUCCESS;
        },
        &saved, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, nullptr);
    return saved.second;
}

bool Lv2Host::restore(const State& state) {
    const auto& interface =
        *static_cast<const LV2_State_Interface*>(descriptor_.extension_data(LV2_STATE__interface));
    std::pair<UridMap*, const State*> from{&urids_, &state};
    return interface.restore(
               handle_,
               [](LV2_State_Handle handle, std::uint32_t key, std::size_t* size,
                  std::uint32_t* type, std::uint32_t* flags) -> const void* {
                   auto& [urids, known] = *static_cast<decltype(from)*>(handle);
                   const auto found = known->find(urids->uri(key));
                   if (found == known->end()) return nullptr;
                   *size = found->second.size();
                   *type = (*urids)[LV2_ATOM__String];
                   *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
                   return found->second.data();
               },
               &from, 0, nullptr) == LV2_STATE_SUCCESS;
}

// The editor

Lv2EditorHost::Lv2EditorHost(const LV2UI_Descriptor& descriptor, Lv2Host& host,
                             const Options& options)
    : descriptor_(descriptor), host_(host) {
    const LV2_Feature all[] = {{LV2_URID__map, host.urids().feature()},
                               {LV2_UI__touch, &touch_},
                               {LV2_UI__resize, &resize_},
                               {LV2_UI__parent, reinterpret_cast<void*>(options.parent)},
                               {LV2_INSTANCE_ACCESS_URI, host.handle()}};
    const LV2_Feature* features[6] = {&all[0], &all[1], &all[2]};
    std::size_t count = 3;
    if (options.parent) features[count++] = &all[3];
    if (options.hasInstance) features[count++] = &all[4];
    handle_ = descriptor.instantiate(
        &descriptor, uri.c_str(), "",
        [](LV2UI_Controller self, std::uint32_t port, std::uint32_t, std::uint32_t,
           const void* value) {
            static_cast<Lv2EditorHost*>(self)->write(port, *static_cast<const float*>(value));
        },
        this, &widget_, features);
}

Lv2EditorHost::~Lv2EditorHost() {
    close();
}

void Lv2EditorHost::close() {
    if (handle_) descriptor_.cleanup(std::exchange(handle_, nullptr));
}

bool Lv2EditorHost::idle() {
    return static_cast<const LV2UI_Idle_Interface*>(
               descriptor_.extension_data(LV2_UI__idleInterface))
               ->idle(handle_) == 0;
}

bool Lv2EditorHost::show() {
    return static_cast<const LV2UI_Show_Interface*>(
               descriptor_.extension_data(LV2_UI__showInterface))
               ->show(handle_) == 0;
}

bool Lv2EditorHost::resize(int wide, int high) {
    return static_cast<const LV2UI_Resize*>(descriptor_.extension_data(LV2_UI__resize))
               ->ui_resize(handle_, wide, high) == 0;
}

void Lv2EditorHost::touch(std::uint32_t port, bool isDown) {
    using Kind = EditExchange::Edit::Kind;
    const auto address = port - hosts::lv2::firstControl;
    edits.push_back({isDown ? Kind::begin : Kind::end, address, written_[address]});
}

void Lv2EditorHost::write(std::uint32_t port, float value) {
    const auto address = port - hosts::lv2::firstControl;
    written_[address] = address == kBypass ? 1 - value : value;
    edits.push_back({EditExchange::Edit::Kind::value, address, written_[address]});
    if (onWrite)
        onWrite(address, value);
    else
        host_.controls[address] = value;
}

}  // namespace qov::test
