#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/audiotoolbox/AUAudioUnit.h"

namespace qov::hosts {

/// An audio unit's full state as a host keeps it in its projects: lines of text, a version first
/// and an end mark last. Whole values come back to the bit.
std::string encodeState(const platform::AUState& state);

/// The state of a text, for the component it belongs to. What is missing, unreadable or not a
/// number gets its default, values outside 0..1 are clamped, unknown lines are skipped. Null for
/// another text, one that was cut short, or one of an unknown version.
std::optional<platform::AUState> decodeState(std::string_view text);

}  // namespace qov::hosts
