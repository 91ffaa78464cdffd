#pragma once

#include "hosts/clap/abi.h"

namespace qov::hosts::clap {

/// Lists the presets of presetBank, and names the folder and the files of the user's, for hosts
/// that index presets, without an instance. The key of one of the bank is its number.
extern const abi::PresetFactory presetFactory;

}  // namespace qov::hosts::clap
