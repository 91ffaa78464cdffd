#pragma once

#include <cstddef>
#include <optional>

#include "hosts/instance/EditHistory.h"
#include "hosts/instance/Settings.h"

namespace qov::hosts {

/// What an editor leaves to the next one of the same instance; no part of the state, and empty
/// after one was restored: its steps are those of another sound. Main thread.
struct EditMemory {
    EditHistory history;
    std::size_t heardSet = 0;          ///< 0 or 1
    std::optional<Settings> otherSet;  ///< the set that is not heard; at first it equals the other
};

}  // namespace qov::hosts
