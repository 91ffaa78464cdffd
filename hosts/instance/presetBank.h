#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "audiounit/parameters.h"
#include "audiounit/presets.h"

namespace qov::hosts {

/// A preset of the program's own.
struct BankPreset {
    std::string_view name;
    std::string_view summary;                  ///< what it does and when to use it, a sentence
    std::array<float, parameterCount> values;  ///< by address, with two decimals
};

/// Starting points for common tasks, in the order in which hosts list them, behind the audio unit's
/// factory presets.
inline constexpr std::array startingPoints{
    BankPreset{"Slightly wider",
               "Raises the side signal by 1.6 dB, for a mix that sounds narrow",
               {0.6f, 0.5f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"Wider pad",
               "Raises the side signal by 3.5 dB, for pads, rooms and backing voices",
               {0.75f, 0.5f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"As wide as it goes",
               "Doubles the side signal; check it in mono",
               {1, 0.5f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"Slightly narrower",
               "Moves the left channel a fifth of the way to the right one, for a left side that "
               "sticks out",
               {0.4f, 0.5f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"Fold to mono, centre kept",
               "Puts (L + R) / 2 on both sides; the centre keeps its level",
               {0.5f, 0.5f, 0, 0, 0, 0, 1, 0}},
    BankPreset{"Right channel on both sides",
               "Drops a left channel that is broken or empty",
               {0, 0.5f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"Mend inverted left",
               "Turns the left channel over, for a recording with one side wired upside down",
               {0.5f, 0.5f, 0, 0, 1, 0, 0, 0}},
    BankPreset{"Mend swapped sides", "Exchanges left and right", {0.5f, 0.5f, 0, 1, 0, 0, 0, 0}},
    BankPreset{"Early right 2 ms",
               "Delays the left channel, so that the sound leans to the right at the same level",
               {0.5f, 0.5f, 0.2f, 0, 0, 0, 0, 0}},
    BankPreset{"Mono made wide 8 ms",
               "Delays the left channel of a mono sound, so that it spreads; combs in mono",
               {0.5f, 0.5f, 0.8f, 0, 0, 0, 0, 0}},
    BankPreset{"Leaning left",
               "Moves the whole image 30 % to the left and loses neither side",
               {0.5f, 0.35f, 0, 0, 0, 0, 0, 0}},
    BankPreset{"Leaning right",
               "Moves the whole image 30 % to the right and loses neither side",
               {0.5f, 0.65f, 0, 0, 0, 0, 0, 0}},
};

static_assert(
    [] {
        for (const BankPreset& preset : startingPoints) {
            std::size_t changed = 0;
            for (std::size_t i = 0; i < parameterCount; ++i)
                changed += preset.values[i] != hostParameters[i].initial;
            if (changed != 1) return false;
        }
        return true;
    }(),
    "each moves one parameter, so that a sentence says what it does");

/// The factory presets, then the starting points.
inline constexpr auto presetBank = [] {
    std::array<BankPreset, factoryPresetCount + startingPoints.size()> all{};
    for (std::size_t i = 0; i < factoryPresetCount; ++i)
        all[i] = {presetNames[i], "The effect as it starts", presetParameters[i]};
    for (std::size_t i = 0; i < startingPoints.size(); ++i)
        all[factoryPresetCount + i] = startingPoints[i];
    return all;
}();

}  // namespace qov::hosts
