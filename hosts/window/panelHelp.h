#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/window/CaptionView.h"

namespace qov::hosts {

class Instance;

/// The parameter that a drag in this editing mode changes; null for a switch or button.
std::optional<int> controlOf(std::string_view mode);

/// A tooltip for the part of the panel with this editing mode: its name, its value where it has
/// one, and what mouse and keys do there. Empty for an unknown mode.
std::vector<CaptionView::Line> panelHelp(std::string_view mode, const Instance& instance);

/// How a value of a control is written, by examples. The address is a host parameter's.
std::string valueExamples(int address);

/// Why a typed value is refused, for a value as Instance::parseTyped() reads it: its range, or for
/// empty (it cannot be read) examples. Empty for a value in range.
std::string refusal(int address, std::optional<float> value, const Instance& instance);

}  // namespace qov::hosts
