#pragma once

#include <string>
#include <string_view>

#include "hosts/lv2/ControlPorts.h"

namespace qov::hosts::lv2 {

/// What the control ports said, as text: a number a port, "-" for one that was not heard. Numbers
/// come back to the bit.
std::string encodePorts(const ControlPorts::Values& values);

/// What is missing or no number was not heard.
ControlPorts::Values decodePorts(std::string_view text);

}  // namespace qov::hosts::lv2
