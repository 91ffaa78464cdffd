#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/window/CaptionView.h"

namespace qov::hosts {

class Instance;

/// A tooltip for the part of the panel with this editing mode: its name, its value where it has
/// one, and what mouse and keys do there. Empty for an unknown mode.
std::vector<CaptionView::Line> panelHelp(std::string_view mode, const Instance& instance);

/// How a value of a control is written, by examples.
std::string valueExamples(int address);

}  // namespace qov::hosts
