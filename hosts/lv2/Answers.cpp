#include "hosts/lv2/Answers.h"

namespace qov::hosts::lv2 {
namespace {

constexpr std::size_t questionsAtOnce = 16;

}  // namespace

Answers::Answers(LV2_URID_Map& map, const Urids& urids) : urids_(urids) {
    lv2_atom_forge_init(&forge_, &map);
    questions_.reserve(questionsAtOnce);
}

void Answers::ask(const Question& question) {
    if (questions_.size() < questionsAtOnce) questions_.push_back(question);
}

void Answers::writeNone(LV2_Atom_Sequence& port) const {
    // A host leaves the size of the port's memory there.
    constexpr std::uint32_t size = sizeof(LV2_Atom_Sequence_Body);
    if (port.atom.size >= size) port = {{size, urids_.atomSequence}, {0, 0}};
}

void Answers::write(const std::array<float, parameterCount>& values, std::uint32_t frame,
                    LV2_Atom_Sequence& port) {
    lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<std::uint8_t*>(&port),
                              sizeof(LV2_Atom) + port.atom.size);
    LV2_Atom_Forge_Frame sequence;
    if (lv2_atom_forge_sequence_head(&forge_, &sequence, 0)) {
        for (const auto& question : questions_) writeOne(question, values, frame);
        lv2_atom_forge_pop(&forge_, &sequence);
    }
    questions_.clear();
}

void Answers::writeOne(const Question& question, const std::array<float, parameterCount>& values,
                       std::uint32_t frame) {
    // Whole or not at all: this is more than either answer takes.
    if (forge_.size - forge_.offset < notifyBytes / 2) return;
    const auto key = [&](LV2_URID urid) { lv2_atom_forge_key(&forge_, urid); };
    const bool isAll = question.address == Question::all;
    LV2_Atom_Forge_Frame message, body;
    lv2_atom_forge_frame_time(&forge_, frame);
    lv2_atom_forge_object(&forge_, &message, 0, isAll ? urids_.patchPut : urids_.patchSet);
    key(urids_.patchSubject);
    lv2_atom_forge_urid(&forge_, urids_.plugin);
    if (question.sequenceNumber) {
        key(urids_.patchSequenceNumber);
        lv2_atom_forge_int(&forge_, question.sequenceNumber);
    }
    if (isAll) {
        key(urids_.patchBody);
        lv2_atom_forge_object(&forge_, &body, 0, 0);
        for (std::size_t address = 0; address < values.size(); ++address) {
            key(urids_.parameters[address]);
            lv2_atom_forge_float(&forge_, values[address]);
        }
        lv2_atom_forge_pop(&forge_, &body);
    } else {
        key(urids_.patchProperty);
        lv2_atom_forge_urid(&forge_, urids_.parameters[question.address]);
        key(urids_.patchValue);
        lv2_atom_forge_float(&forge_, values[question.address]);
    }
    lv2_atom_forge_pop(&forge_, &message);
}

}  // namespace qov::hosts::lv2
