#include "hosts/lv2/Messages.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "hosts/instance/Instance.h"

namespace qov::hosts::lv2 {

namespace {

constexpr std::size_t questionsAtOnce = 16;

template <class T>
const T* after(const void* place) {
    return static_cast<const T*>(place);
}

const std::uint8_t* bodyOf(const LV2_Atom& atom) {
    return after<std::uint8_t>(&atom + 1);
}

template <class T>
std::optional<T> bodyAs(const LV2_Atom& atom) {
    T value;
    if (atom.size != sizeof value) return std::nullopt;
    std::memcpy(&value, bodyOf(atom), sizeof value);
    return value;
}

/// Calls visit(item) for each item of a body that is whole, where the last of an item's fields is
/// an atom, with that atom's content behind it.
template <class Item, class Visit>
void forEach(const std::uint8_t* begin, const std::uint8_t* end, LV2_Atom Item::*last,
             const Visit& visit) {
    while (end - begin >= static_cast<std::ptrdiff_t>(sizeof(Item))) {
        const auto& item = *after<Item>(begin);
        const auto size = sizeof(Item) + std::size_t{(item.*last).size};
        if (size > static_cast<std::size_t>(end - begin)) return;
        visit(item);
        const auto padded = (size + 7) / 8 * 8;
        begin += std::min(padded, static_cast<std::size_t>(end - begin));
    }
}

/// Calls visit(key, value) for each property of an object.
template <class Visit>
void forEachProperty(const LV2_Atom& object, const Visit& visit) {
    const auto* const body = bodyOf(object);
    forEach<LV2_Atom_Property_Body>(
        body + sizeof(LV2_Atom_Object_Body), body + object.size, &LV2_Atom_Property_Body::value,
        [&](const LV2_Atom_Property_Body& property) { visit(property.key, property.value); });
}

}  // namespace

struct Messages::Patch {
    const LV2_Atom* subject = nullptr;
    const LV2_Atom* property = nullptr;
    const LV2_Atom* value = nullptr;
    const LV2_Atom* body = nullptr;
    std::int32_t sequenceNumber = 0;
};

Messages::Messages(LV2_URID_Map& map, Instance& instance) : urids(map), instance_(instance) {
    lv2_atom_forge_init(&forge_, &map);
    questions_.reserve(questionsAtOnce);
}

void Messages::read(const LV2_Atom_Sequence& sequence) {
    if (sequence.atom.type != urids.atomSequence ||
        sequence.atom.size < sizeof(LV2_Atom_Sequence_Body))
        return;
    const bool isInBeats = sequence.body.unit == urids.atomBeatTime && sequence.body.unit != 0;
    const auto* const begin = bodyOf(sequence.atom);
    forEach<LV2_Atom_Event>(
        begin + sizeof(LV2_Atom_Sequence_Body), begin + sequence.atom.size, &LV2_Atom_Event::body,
        [&](const LV2_Atom_Event& event) {
            // The tempo is unknown, so beats give the order only.
            const auto frame = static_cast<std::uint32_t>(std::clamp<std::int64_t>(
                isInBeats ? 0 : event.time.frames, 0, std::numeric_limits<std::uint32_t>::max()));
            if (event.body.type == urids.midiEvent)
                instance_.midi(frame, {bodyOf(event.body), event.body.size});
            else if (isObject(event.body))
                readPatch(frame, event.body);
        });
}

void Messages::readPatch(std::uint32_t frame, const LV2_Atom& atom) {
    const auto kind = after<LV2_Atom_Object_Body>(bodyOf(atom))->otype;
    if (kind != urids.patchSet && kind != urids.patchPut && kind != urids.patchGet) return;
    const auto message = parse(atom);
    const auto uridOf = [&](const LV2_Atom* value) {
        return value && value->type == urids.atomUrid ? bodyAs<LV2_URID>(*value).value_or(0) : 0;
    };
    if (message.subject && uridOf(message.subject) != urids.plugin) return;

    if (kind == urids.patchSet && message.value) {
        set(frame, uridOf(message.property), *message.value);
    } else if (kind == urids.patchPut && message.body && isObject(*message.body)) {
        forEachProperty(*message.body, [&](LV2_URID parameter, const LV2_Atom& value) {
            set(frame, parameter, value);
        });
    } else if (kind == urids.patchGet) {
        Question question{.sequenceNumber = message.sequenceNumber};
        if (message.property) question.address = addressOf(uridOf(message.property));
        const bool isKnown = !message.property || question.address != Question::all;
        if (isKnown && questions_.size() < questionsAtOnce) questions_.push_back(question);
    }
}

Messages::Patch Messages::parse(const LV2_Atom& object) const {
    Patch patch;
    forEachProperty(object, [&](LV2_URID key, const LV2_Atom& value) {
        if (key == urids.patchSubject) patch.subject = &value;
        if (key == urids.patchProperty) patch.property = &value;
        if (key == urids.patchValue) patch.value = &value;
        if (key == urids.patchBody) patch.body = &value;
        if (key == urids.patchSequenceNumber && value.type == urids.atomInt)
            patch.sequenceNumber = bodyAs<std::int32_t>(value).value_or(0);
    });
    return patch;
}

void Messages::set(std::uint32_t frame, LV2_URID parameter, const LV2_Atom& value) {
    const auto address = addressOf(parameter);
    if (address == Question::all) return;
    const auto push = [&](auto number) {
        // Clamped before it becomes a float; NaN stays NaN.
        if (number)
            instance_.set(frame, address,
                          static_cast<float>(std::clamp(static_cast<double>(*number), 0.0, 1.0)));
    };
    if (value.type == urids.atomFloat) push(bodyAs<float>(value));
    if (value.type == urids.atomDouble) push(bodyAs<double>(value));
    if (value.type == urids.atomInt) push(bodyAs<std::int32_t>(value));
    if (value.type == urids.atomLong) push(bodyAs<std::int64_t>(value));
    if (value.type == urids.atomBool)
        if (const auto flag = bodyAs<std::int32_t>(value)) push(std::optional(*flag != 0));
}

std::uint64_t Messages::addressOf(LV2_URID parameter) const {
    const auto found = std::ranges::find(urids.parameters, parameter);
    return static_cast<std::uint64_t>(found - urids.parameters.begin());
}

bool Messages::isObject(const LV2_Atom& atom) const {
    return (atom.type == urids.atomObject || atom.type == urids.atomBlank) &&
           atom.size >= sizeof(LV2_Atom_Object_Body);
}

void Messages::answer(std::uint32_t frame, LV2_Atom_Sequence& port) {
    // The host has left the size of the port's memory in its head.
    if (questions_.empty()) {
        constexpr std::uint32_t size = sizeof(LV2_Atom_Sequence_Body);
        if (port.atom.size >= size) port = {{size, urids.atomSequence}, {0, 0}};
        return;
    }
    lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<std::uint8_t*>(&port),
                              sizeof(LV2_Atom) + port.atom.size);
    LV2_Atom_Forge_Frame sequence;
    if (lv2_atom_forge_sequence_head(&forge_, &sequence, 0)) {
        for (const auto& question : questions_) writeAnswer(question, frame);
        lv2_atom_forge_pop(&forge_, &sequence);
    }
    questions_.clear();
}

void Messages::writeAnswer(const Question& question, std::uint32_t frame) {
    // Whole or not at all: this is more than either answer takes.
    if (forge_.size - forge_.offset < notifyBytes / 2) return;
    const auto key = [&](LV2_URID urid) { lv2_atom_forge_key(&forge_, urid); };
    const auto value = [&](LV2_URID urid, std::uint64_t address) {
        key(urid);
        lv2_atom_forge_float(&forge_, instance_.value(address));
    };
    const bool isAll = question.address == Question::all;
    LV2_Atom_Forge_Frame message, body;
    lv2_atom_forge_frame_time(&forge_, frame);
    lv2_atom_forge_object(&forge_, &message, 0, isAll ? urids.patchPut : urids.patchSet);
    key(urids.patchSubject);
    lv2_atom_forge_urid(&forge_, urids.plugin);
    if (question.sequenceNumber) {
        key(urids.patchSequenceNumber);
        lv2_atom_forge_int(&forge_, question.sequenceNumber);
    }
    if (isAll) {
        key(urids.patchBody);
        lv2_atom_forge_object(&forge_, &body, 0, 0);
        for (std::uint64_t address = 0; address < parameterCount; ++address)
            value(urids.parameters[address], address);
        lv2_atom_forge_pop(&forge_, &body);
    } else {
        key(urids.patchProperty);
        lv2_atom_forge_urid(&forge_, urids.parameters[question.address]);
        value(urids.patchValue, question.address);
    }
    lv2_atom_forge_pop(&forge_, &message);
}

}  // namespace qov::hosts::lv2
