#pragma once

#include <string>
#include <string_view>

#include "hosts/lv2/ControlPorts.h"

namespace qov::hosts::lv2 {

/// The values of the control ports as text: a number a port, "-" for null. Numbers come back to the
/// bit.
std::string encodePorts(const ControlPorts::Values& values);

/// Missing or malformed values become null.
ControlPorts::Values decodePorts(std::string_view text);

}  // namespace qov::hosts::lv2
