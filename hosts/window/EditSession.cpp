#include "hosts/window/EditSession.h"

#include <cstdint>
#include <utility>

#include "hosts/window/EditorWindow.h"

namespace qov::hosts {

EditSession::EditSession(EditorWindow& window, Instance& instance)
    : window_(window), instance_(instance), memory_(instance.editMemory()) {
    window_.gesture().onBegin = [this] { before_ = instance_.values(); };
    window_.gesture().onEnd = [this](std::uint32_t changed) {
        const auto after = instance_.settings();
        auto before = after;
        // What the host has changed meanwhile is no part of the step.
        for (std::size_t address = 0; address < before_.size(); ++address)
            if (changed & 1u << address) before.values[address] = before_[address];
        memory_.history.add({before, after});
    };
}

EditSession::~EditSession() {
    window_.gesture().onBegin = {};
    window_.gesture().onEnd = {};
}

bool EditSession::edit(const std::function<void()>& act) {
    window_.endTurn();
    if (window_.gesture().isHeld()) return false;
    instance_.edit(act);
    window_.showBypass();
    return true;
}

void EditSession::apply(const std::function<void()>& select) {
    Settings before;
    const bool isDone = edit([&] {
        before = instance_.settings();
        select();
    });
    if (isDone) memory_.history.add({before, instance_.settings()});
}

void EditSession::copyToOther() {
    edit([&] {
        const auto heard = instance_.settings();
        memory_.history.add({memory_.otherSet.value_or(heard), heard, EditHistory::Kind::copy});
        memory_.otherSet = heard;
    });
}

void EditSession::exchangeSets() {
    const auto heard = instance_.settings();
    instance_.setSettings(memory_.otherSet.value_or(heard));
    memory_.otherSet = heard;
    memory_.heardSet = 1 - memory_.heardSet;
}

void EditSession::switchSets() {
    Settings before;
    const bool isDone = edit([&] {
        before = instance_.settings();
        exchangeSets();
    });
    if (isDone) memory_.history.add({before, instance_.settings(), EditHistory::Kind::switchSets});
}

/// Sets only what differs: MIDI and the host may have changed other values since.
void EditSession::step(bool isBack) {
    edit([&] {
        const auto* step = isBack ? memory_.history.undo() : memory_.history.redo();
        if (!step) return;
        if (step->kind == EditHistory::Kind::switchSets) return exchangeSets();
        const auto& from = isBack ? step->after : step->before;
        const auto& to = isBack ? step->before : step->after;
        if (step->kind == EditHistory::Kind::copy) {
            memory_.otherSet = to;
            return;
        }
        auto next = from.isOfSamePreset(to) ? instance_.settings() : to;
        next.values = instance_.values();
        for (std::size_t address = 0; address < next.values.size(); ++address)
            if (from.values[address] != to.values[address])
                next.values[address] = to.values[address];
        instance_.setSettings(next);
    });
}

}  // namespace qov::hosts
