#include "hosts/lv2/MessageReader.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "hosts/instance/Instance.h"

namespace qov::hosts::lv2 {

namespace {

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

struct MessageReader::Message {
    const LV2_Atom* subject = nullptr;
    const LV2_Atom* property = nullptr;
    const LV2_Atom* value = nullptr;
    const LV2_Atom* body = nullptr;
    std::int32_t sequenceNumber = 0;
};

void MessageReader::read(const LV2_Atom_Sequence& sequence) {
    if (sequence.atom.type != urids_.atomSequence ||
        sequence.atom.size < sizeof(LV2_Atom_Sequence_Body))
        return;
    const bool isInBeats = sequence.body.unit == urids_.atomBeatTime && sequence.body.unit != 0;
    const auto* const begin = bodyOf(sequence.atom);
    forEach<LV2_Atom_Event>(
        begin + sizeof(LV2_Atom_Sequence_Body), begin + sequence.atom.size, &LV2_Atom_Event::body,
        [&](const LV2_Atom_Event& event) {
            // The tempo is unknown, so beats give the order only.
            const auto frame = static_cast<std::uint32_t>(std::clamp<std::int64_t>(
                isInBeats ? 0 : event.time.frames, 0, std::numeric_limits<std::uint32_t>::max()));
            if (event.body.type == urids_.midiEvent)
                instance_.midi(frame, {bodyOf(event.body), event.body.size});
            else if (isObject(event.body))
                readPatch(frame, event.body);
        });
}

void MessageReader::readPatch(std::uint32_t frame, const LV2_Atom& atom) {
    const auto kind = after<LV2_Atom_Object_Body>(bodyOf(atom))->otype;
    if (kind != urids_.patchSet && kind != urids_.patchPut && kind != urids_.patchGet) return;
    const auto message = parse(atom);
    const auto uridOf = [&](const LV2_Atom* value) {
        return value && value->type == urids_.atomUrid ? bodyAs<LV2_URID>(*value).value_or(0) : 0;
    };
    if (message.subject && uridOf(message.subject) != urids_.plugin) return;

    if (kind == urids_.patchSet && message.value) {
        set(frame, uridOf(message.property), *message.value);
    } else if (kind == urids_.patchPut && message.body && isObject(*message.body)) {
        forEachProperty(*message.body, [&](LV2_URID parameter, const LV2_Atom& value) {
            set(frame, parameter, value);
        });
    } else if (kind == urids_.patchGet) {
        Question question{.sequenceNumber = message.sequenceNumber};
        if (message.property) question.address = addressOf(uridOf(message.property));
        if (!message.property || question.address != Question::all) answers_.ask(question);
    }
}

MessageReader::Message MessageReader::parse(const LV2_Atom& object) const {
    Message message;
    forEachProperty(object, [&](LV2_URID key, const LV2_Atom& value) {
        if (key == urids_.patchSubject) message.subject = &value;
        if (key == urids_.patchProperty) message.property = &value;
        if (key == urids_.patchValue) message.value = &value;
        if (key == urids_.patchBody) message.body = &value;
        if (key == urids_.patchSequenceNumber && value.type == urids_.atomInt)
            message.sequenceNumber = bodyAs<std::int32_t>(value).value_or(0);
    });
    return message;
}

void MessageReader::set(std::uint32_t frame, LV2_URID parameter, const LV2_Atom& value) {
    const auto address = addressOf(parameter);
    if (address == Question::all) return;
    const auto push = [&](auto number) {
        // Clamped to what a float holds; NaN stays NaN.
        if (number)
            instance_.set(frame, address,
                          static_cast<float>(std::clamp(static_cast<double>(*number), 0.0, 1.0)));
    };
    if (value.type == urids_.atomFloat) push(bodyAs<float>(value));
    if (value.type == urids_.atomDouble) push(bodyAs<double>(value));
    if (value.type == urids_.atomInt) push(bodyAs<std::int32_t>(value));
    if (value.type == urids_.atomLong) push(bodyAs<std::int64_t>(value));
    if (value.type == urids_.atomBool)
        if (const auto flag = bodyAs<std::int32_t>(value)) push(std::optional(*flag != 0));
}

std::uint64_t MessageReader::addressOf(LV2_URID parameter) const {
    const auto found = std::ranges::find(urids_.parameters, parameter);
    return static_cast<std::uint64_t>(found - urids_.parameters.begin());
}

bool MessageReader::isObject(const LV2_Atom& atom) const {
    return (atom.type == urids_.atomObject || atom.type == urids_.atomBlank) &&
           atom.size >= sizeof(LV2_Atom_Object_Body);
}

}  // namespace qov::hosts::lv2
