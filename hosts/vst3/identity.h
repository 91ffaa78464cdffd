#pragma once

#include <travesty/base.h>

#include <cstdint>
#include <string_view>

#include "dsp/ParameterAddress.h"

namespace qov::hosts::vst3 {

/// The plug-in's class id, by which projects find it: the UUID (version 5, namespace URL) of
/// its URI.
inline constexpr v3_tuid classId = V3_ID(0xaea145c3, 0x38535cd7, 0x9c3cc113, 0xcf4453ce);

// The class in the factory and in the bundle's moduleinfo.json, besides the product's names:

/// The category of audio plug-ins.
inline constexpr std::string_view category = "Audio Module Class";
/// Separated by bars.
inline constexpr std::string_view subcategories = "Fx|Spatial|Stereo";
/// Of the interfaces.
inline constexpr std::string_view formatVersion = "VST 3.7";
/// Any number of instances.
inline constexpr std::int32_t cardinality = 0x7fffffff;

// Parameters have their addresses as ids; two more that only this format needs:

/// Hidden: where MIDI's controller 7 arrives.
inline constexpr v3_param_id volumeId = kVolume;
/// Which factory preset.
inline constexpr v3_param_id programId = 100;

}  // namespace qov::hosts::vst3
