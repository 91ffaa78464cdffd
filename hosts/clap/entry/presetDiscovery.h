#pragma once

#include "hosts/clap/abi.h"

namespace qov::hosts::clap {

/// Lists the factory presets for hosts that index presets, without an instance. A preset's key is
/// its number.
extern const abi::PresetFactory presetFactory;

}  // namespace qov::hosts::clap
