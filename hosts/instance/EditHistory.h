#pragma once

#include <cstddef>
#include <vector>

#include "hosts/instance/Settings.h"

namespace qov::hosts {

/// The undo history: a step for each gesture that changed a value. Main thread.
class EditHistory {
 public:
    /// A gesture, a switch between two sets of values, or a change of the set that is not heard.
    enum class Kind { gesture, switchSets, copy };
    /// What it changed.
    struct Step {
        Settings before, after;
        Kind kind = Kind::gesture;
    };
    static constexpr std::size_t longest = 1000;  // steps; the oldest are dropped

    /// Adds a step and drops those that could have been redone. No-op for one that changes nothing.
    void add(const Step& step) {
        if (step.before == step.after && step.kind != Kind::switchSets) return;
        steps_.resize(done_);
        if (steps_.size() == longest) steps_.erase(steps_.begin());
        steps_.push_back(step);
        done_ = steps_.size();
    }
    bool canUndo() const { return done_ > 0; }
    bool canRedo() const { return done_ < steps_.size(); }
    /// The step to undo or to redo; null if there is none.
    const Step* undo() { return canUndo() ? &steps_[--done_] : nullptr; }
    const Step* redo() { return canRedo() ? &steps_[done_++] : nullptr; }

 private:
    std::vector<Step> steps_;
    std::size_t done_ = 0;  // steps in force
};

}  // namespace qov::hosts
