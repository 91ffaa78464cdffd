#pragma once

#include "hosts/clap/abi.h"

namespace qov::hosts::clap {

/// Tells hosts that index presets of the factory presets, without an instance. A preset's key is
/// its number.
extern const abi::PresetFactory presetFactory;

}  // namespace qov::hosts::clap
