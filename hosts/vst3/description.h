#pragma once

#include <travesty/edit_controller.h>
#include <travesty/unit.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace qov::hosts::vst3 {

// The parameters and programs, which are those of every instance. Values are in 0..1. Any thread.

/// Units of UTF-16 in every text of the format.
inline constexpr std::size_t textSize = 128;

/// Steps between the ends; 0 for a continuous parameter, null for an unknown id.
std::optional<std::int32_t> stepsOf(v3_param_id id);
/// The number in presetBank at a value of the program parameter; NaN counts as 0.
std::size_t programOf(double value);
/// The inverse.
double valueOfProgram(double program);

/// An entry of the edit controller, as are the next two.
v3_result getParameterInfo(std::int32_t index, v3_param_info* info);
/// A switch's 0 or 1, a program's number, or the value itself.
double plainOfNormalised(v3_param_id id, double value);
/// The inverse.
double normalisedOfPlain(v3_param_id id, double plain);

/// The presets of presetBank: one unit, with one list of programs.
extern const v3_unit_information_cpp unitTable;
/// MIDI controllers come as parameter changes. Three of them mean the same as for the audio unit.
extern const v3_midi_mapping_cpp midiMappingTable;

}  // namespace qov::hosts::vst3
