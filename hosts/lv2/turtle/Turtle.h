#pragma once

#include <string>

namespace platform {
class AUParameterTree;
}

namespace qov::hosts::lv2 {

// What hosts read before they load anything, as Turtle: made from the same tables as the code.

/// manifest.ttl: which plug-in, editor and presets there are, and in which files.
std::string manifestTurtle();
/// kelvane.ttl: the plug-in with its ports.
std::string pluginTurtle(const platform::AUParameterTree& tree);
/// presets.ttl: the factory presets, as values of the ports.
std::string presetsTurtle(const platform::AUParameterTree& tree);

}  // namespace qov::hosts::lv2
