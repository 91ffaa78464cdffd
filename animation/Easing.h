#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qov {

/// The easing curves by name, one byte each. The families are Robert Penner's (linear, quad, cubic,
/// quart, quint, sine, expo, circ, elastic, back, bounce), each in four directions: in (slow
/// start), out (slow end), in-out, and out-in (slow in the middle). The raw value is the position
/// below.
enum class EnumEasing : std::uint8_t {
    EASING_easeNone,  ///< linear
    EASING_easeInQuad,
    EASING_easeOutQuad,
    EASING_easeInOutQuad,
    EASING_easeOutInQuad,
    EASING_easeInCubic,
    EASING_easeOutCubic,
    EASING_easeInOutCubic,
    EASING_easeOutInCubic,
    EASING_easeInQuart,
    EASING_easeOutQuart,
    EASING_easeInOutQuart,
    EASING_easeOutInQuart,
    EASING_easeInQuint,
    EASING_easeOutQuint,
    EASING_easeInOutQuint,
    EASING_easeOutInQuint,
    EASING_easeInSine,
    EASING_easeOutSine,
    EASING_easeInOutSine,
    EASING_easeOutInSine,
    EASING_easeInExpo,
    EASING_easeOutExpo,
    EASING_easeInOutExpo,
    EASING_easeOutInExpo,
    EASING_easeInCirc,
    EASING_easeOutCirc,
    EASING_easeInOutCirc,
    EASING_easeOutInCirc,
    EASING_easeInElastic,
    EASING_easeOutElastic,
    EASING_easeInOutElastic,
    EASING_easeOutInElastic,
    EASING_easeInBack,
    EASING_easeOutBack,
    EASING_easeInOutBack,
    EASING_easeOutInBack,
    EASING_easeInBounce,
    EASING_easeOutBounce,
    EASING_easeInOutBounce,
    EASING_easeOutInBounce,
    EASING_easeLast,  ///< a full member: linear as well
};

/// The curve of a raw value 0..41; nothing for any other number.
std::optional<EnumEasing> easingWithRawValue(std::int64_t rawValue);

/// The value at frame t of d frames, from b at t = 0 to b + c at t = d; t may lie outside 0..d.
/// Single precision throughout, frames included. d must not be 0 (a division by zero: infinite or
/// not a number). Pure; any thread.
///
/// Where a curve differs from the textbook: out quart starts at b + 2c, the second half of in-out
/// quart at b + 1.5c, and in-out expo creeps to b + c/64 and jumps to b + c in its last frame.
/// Out-in curves take their second half from frame d / 2, rounded down; doubling a frame number
/// that does not fit into 64 bits is a fatal error.
using EasingFunction = float (*)(std::int64_t t, float b, float c, std::int64_t d);

/// One row of the table of curves.
struct EasingCurve {
    EnumEasing type;
    std::string_view name;       ///< as the enumerator is spelled: "EASING_easeInQuad"
    std::string_view family;     ///< "linear", "quad", "cubic", ...
    std::string_view direction;  ///< "none", "in", "out", "in-out", "out-in"
    EasingFunction function;
};

/// All 42 curves, by raw value.
std::span<const EasingCurve> easingCurves();

/// The function of a curve.
EasingFunction easingFunction(EnumEasing type);

}  // namespace qov
