#pragma once

#include <functional>
#include <optional>

#include "hosts/instance/EditMemory.h"
#include "hosts/instance/Instance.h"

namespace qov::hosts {

class EditorWindow;

/// What a person does to the values as a whole: undo and redo, two sets to compare, presets. Each
/// reaches the sound in one step and the host as one edit of each parameter that changes. The
/// instance keeps the history and the sets for the next session. All are no-ops while a gesture of
/// the panel is under way. Main thread, with the instance's run loop current.
class EditSession {
 public:
    /// Both outlive it. Takes the window's gestures into the history from now on.
    EditSession(EditorWindow& window, Instance& instance);
    ~EditSession();
    EditSession(const EditSession&) = delete;
    EditSession& operator=(const EditSession&) = delete;

    void undo() { step(true); }
    void redo() { step(false); }
    bool canUndo() const { return memory_.history.canUndo(); }
    bool canRedo() const { return memory_.history.canRedo(); }

    /// The set that is heard, 0 or 1.
    std::size_t heardSet() const { return memory_.heardSet; }
    /// Hears the other set; the first time, it equals this one.
    void switchSets();
    /// Copies the heard set to the other one.
    void copyToOther();

    /// Sets values by select(), which acts as a host does, as a step of the history.
    void apply(const std::function<void()>& select);

 private:
    bool edit(const std::function<void()>& act);
    void step(bool isBack);
    void exchangeSets();

    EditorWindow& window_;
    Instance& instance_;
    EditMemory& memory_;         // the instance's
    Instance::Values before_{};  // the gesture under way
};

}  // namespace qov::hosts
