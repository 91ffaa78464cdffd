#include "hosts/window/EditSession.h"

#include <cstdint>
#include <utility>

#include "hosts/window/EditorWindow.h"

namespace qov::hosts {

EditSession::EditSession(EditorWindow& window, Instance& instance)
    : window_(window), instance_(instance) {
    window_.gesture().onBegin = [this] { before_ = instance_.values(); };
    window_.gesture().onEnd = [this](std::uint32_t changed) {
        const auto after = instance_.values();
        // What the host has changed meanwhile is no part of the step.
        for (std::size_t address = 0; address < after.size(); ++address)
            if (!(changed & 1u << address)) before_[address] = after[address];
        history_.add({before_, after});
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

bool EditSession::apply(const std::function<void()>& select) {
    Instance::Values before{};
    const bool isDone = edit([&] {
        before = instance_.values();
        select();
    });
    if (isDone) history_.add({before, instance_.values()});
    return isDone;
}

void EditSession::copyToOther() {
    const auto heard = instance_.values();
    history_.add({other_.value_or(heard), heard, EditHistory::Kind::copy});
    other_ = heard;
}

void EditSession::exchangeSets() {
    const auto heard = instance_.values();
    instance_.setValues(other_.value_or(heard));
    other_ = heard;
    heard_ = 1 - heard_;
}

void EditSession::switchSets() {
    Instance::Values before{};
    const bool isDone = edit([&] {
        before = instance_.values();
        exchangeSets();
    });
    if (isDone) history_.add({before, instance_.values(), EditHistory::Kind::switchSets});
}

/// Sets only what differs: MIDI and the host may have changed other values since.
void EditSession::step(bool isBack) {
    edit([&] {
        const auto* step = isBack ? history_.undo() : history_.redo();
        if (!step) return;
        if (step->kind == EditHistory::Kind::switchSets) return exchangeSets();
        const auto& from = isBack ? step->after : step->before;
        const auto& to = isBack ? step->before : step->after;
        if (step->kind == EditHistory::Kind::copy) {
            other_ = to;
            return;
        }
        auto values = instance_.values();
        for (std::size_t address = 0; address < values.size(); ++address)
            if (from[address] != to[address]) values[address] = to[address];
        instance_.setValues(values);
    });
}

}  // namespace qov::hosts
