#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "dsp/ParameterAddress.h"

namespace qov {

/// How a value is written for people and read back.
enum class ValueForm {
    width,       ///< per cent of the way from neutral to an end: "+20 %"
    panorama,    ///< the side and the per cent of the way to it: "L 30 %", "C"
    phaseShift,  ///< frames and their time: "220 samples (5.0 ms)"
    onOff,       ///< a switch: "on" above 0.5, else "off"
    gain,        ///< a linear factor
};

/// One parameter. All values run from 0 to 1.
struct Parameter {
    std::uint64_t address;
    std::string_view identifier;  ///< its key in the parameter tree
    std::string_view name;        ///< for people
    std::string_view option;      ///< in options and automation files
    ValueForm form;
    float initial;          ///< value of a new effect
    std::string_view help;  ///< what turning it does, in a few words

    constexpr bool isSwitch() const { return form == ValueForm::onOff; }
};

/// Every parameter of the effect, in the order in which hosts list them. Only the last row, the
/// volume, is the kernel's own: no host lists it; the command line and MIDI controller 7 set it.
inline constexpr std::array allParameters{
    Parameter{kStereoWidth, "kStereoWidth", "Stereo Width", "stereo-width", ValueForm::width, 0.5f,
              "0.5 as it is; 1 doubles the side signal; 0 puts the right channel on both sides"},
    Parameter{kPanorama, "kPanorama", "Panorama", "panorama", ValueForm::panorama, 0.5f,
              "0.5 centre; 0 all to the left; 1 all to the right"},
    Parameter{kPhaseShift, "kPhaseShift", "Phase Shift", "phase-shift", ValueForm::phaseShift, 0.0f,
              "delays the left channel by up to 10 ms (at least one frame)"},
    Parameter{kSwapChannels, "kSwapChannels", "Swap Channels", "swap-channels", ValueForm::onOff,
              0.0f, "exchanges left and right"},
    Parameter{kInvertChannel, "kInvertChannel", "Invert Channel", "invert-channel",
              ValueForm::onOff, 0.0f, "turns the left channel upside down"},
    Parameter{kRecoverMono, "kRecoverMono", "Recover Mono", "recover-mono", ValueForm::onOff, 0.0f,
              "takes the side signal out of both channels, by the width's amount"},
    Parameter{kTestMono, "kTestMono", "Test Mono", "test-mono", ValueForm::onOff, 0.0f,
              "puts (L + R) / 2 on both sides"},
    Parameter{kBypass, "kBypass", "Bypass", "bypass", ValueForm::onOff, 0.0f,
              "passes the input through untouched"},
    Parameter{kVolume, "kVolume", "Volume", "volume", ValueForm::gain, 1.0f,
              "level before the other stages"},
};
static_assert(allParameters.back().address == kVolume);

/// How many parameters hosts list.
inline constexpr std::size_t parameterCount = allParameters.size() - 1;

/// The parameters that hosts list, each at the index of its address.
inline constexpr auto hostParameters = std::span(allParameters).first<parameterCount>();
static_assert(
    [] {
        for (std::size_t i = 0; i < parameterCount; ++i)
            if (hostParameters[i].address != i) return false;
        return kVolume >= parameterCount;
    }(),
    "hosts' addresses count from 0, and the volume's lies behind them");

/// One past the greatest address: the size of an array by address.
inline constexpr std::size_t addressLimit = kVolume + 1;

/// Whether hosts list a parameter at this address.
constexpr bool isHostParameter(std::uint64_t address) {
    return address < parameterCount;
}

/// The row of an address, the volume's included; null for an unassigned address.
constexpr const Parameter* parameterAt(std::uint64_t address) {
    if (isHostParameter(address)) return &hostParameters[address];
    return address == kVolume ? &allParameters.back() : nullptr;
}

}  // namespace qov
