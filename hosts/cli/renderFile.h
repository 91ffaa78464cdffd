#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "audiounit/parameters.h"
#include "hosts/cli/PresetChoice.h"
#include "hosts/cli/Renderer.h"

namespace qov::cli {

/// One rendering from an input to an output. "-" stands for standard input and output.
struct RenderJob {
    std::string input;
    std::string output;
    std::optional<int> rawRate;  ///< "-" is raw stereo float at this rate instead of WAV
    bool upmix = false;
    bool salvage = false;  ///< take an input that was never finished or was cut off
    std::string format;    ///< by name; empty: by the output's ending
    std::string subtype;   ///< by name; empty: the input's, or the best that fits

    std::optional<PresetChoice> preset;
    std::array<std::string, allParameters.size()> values;  ///< set after it; see parseSettings()
    std::string automation;                                ///< path; empty for none
    std::string midi;  ///< path of a standard MIDI file; empty for none
    std::uint32_t block = 512;
    Timing timing = Timing::aligned;
    bool showProgress = false;
    bool isQuiet = false;  ///< prints no notes, such as that of clipped samples
};

/// Renders the job, and notes clipped samples and damaged inputs on standard error. Throws Failure
/// for a wrong input, automation or output; the output then is unchanged.
void renderFile(const RenderJob& job);

}  // namespace qov::cli
