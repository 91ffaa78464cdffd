#include "animation/Easing.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "platform/foundation/fatalError.h"

namespace qov {
namespace {

using Frame = std::int64_t;

// One unit in the last place below the nearest float of pi and 2 pi, and meant to be.
constexpr float kPi = 3.1415925f;
constexpr float kTwoPi = 6.283185f;
static_assert(std::bit_cast<std::uint32_t>(kPi) == 0x40490FDA);
static_assert(std::bit_cast<std::uint32_t>(kTwoPi) == 0x40C90FDA);

constexpr float kOvershoot = 1.70158f;  // back swings out by 10 % of the way
constexpr float kOvershootPlus1 = 2.70158f;
constexpr float kInOutOvershoot = 2.5949094f;  // times 1.525: 10 % of each half
constexpr float kInOutOvershootPlus1 = 3.5949094f;
static_assert(std::bit_cast<std::uint32_t>(kInOutOvershoot) == 0x402612FF);
static_assert(std::bit_cast<std::uint32_t>(kInOutOvershootPlus1) == 0x406612FF);

constexpr float kElasticPeriod = 0.3f;  // of the run's length
constexpr float kInOutElasticPeriod = 0.45000002f;
static_assert(std::bit_cast<std::uint32_t>(kInOutElasticPeriod) == 0x3EE66667);

float asFloat(Frame frame) {
    return static_cast<float>(frame);
}

/// Towards zero; saturates, and a NaN is 0.
Frame truncated(float frame) {
    constexpr float kLimit = 0x1p63f;
    if (std::isnan(frame)) return 0;
    if (frame >= kLimit) return std::numeric_limits<Frame>::max();
    if (frame < -kLimit) return std::numeric_limits<Frame>::min();
    return static_cast<Frame>(frame);
}

/// Multiplied from the left, so that every machine rounds alike.
template <int N>
float power(float u) {
    float product = u;
    for (int i = 1; i < N; ++i) product *= u;
    return product;
}

float linear(Frame t, float b, float c, Frame d) {
    return (asFloat(t) * c) / asFloat(d) + b;
}

// Quad to quint

template <int N>
float inPower(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c * power<N>(u) + b;
}

/// Adds the power whatever its sign; for the even one, quart, the curve therefore comes down from
/// twice the way. Animations in use were timed with it.
template <int N>
float outPower(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c * (power<N>(u - 1) + 1) + b;
}

template <int N>
float inOutPower(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / (asFloat(d) * 0.5f);
    if (u < 1) return c / 2 * power<N>(u) + b;
    return c / 2 * (power<N>(u - 2) + 2) + b;
}

float outQuad(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return b - c * u * (u - 2);
}

float inOutQuad(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / (asFloat(d) * 0.5f);
    if (u < 1) return c / 2 * (u * u) + b;
    return -c / 2 * ((u - 1) * (u - 3) - 1) + b;
}

// Sine

float inSine(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c - c * std::cos(u * kPi * 0.5f) + b;
}

float outSine(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c * std::sin(u * kPi * 0.5f) + b;
}

float inOutSine(Frame t, float b, float c, Frame d) {
    return -c / 2 * (std::cos(asFloat(t) * kPi / asFloat(d)) - 1) + b;
}

// Expo

float inExpo(Frame t, float b, float c, Frame d) {
    if (t == 0) return b;
    return c * std::exp2(10 * (asFloat(t) / asFloat(d) - 1)) + b;
}

float outExpo(Frame t, float b, float c, Frame d) {
    const float T = asFloat(t), D = asFloat(d);
    if (T == D) return b + c;
    return c * (1 - std::exp2(-10 * T / D)) + b;
}

/// Normalises by twice the length, so nearly all of the rise happens in the last frame; deliberate.
float inOutExpo(Frame t, float b, float c, Frame d) {
    const float T = asFloat(t), D = asFloat(d);
    if (t == 0) return b;
    if (T == D) return b + c;
    const float w = (T / D) * 0.5f;
    if (w < 1) return c / 2 * std::exp2(10 * (w - 1)) + b;
    return c / 2 * (2 - std::exp2(-10 * (w - 1))) + b;
}

// Circ

float inCirc(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return b - c * (std::sqrt(1 - u * u) - 1);
}

float outCirc(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c * std::sqrt(1 - (u - 1) * (u - 1)) + b;
}

float inOutCirc(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / (asFloat(d) * 0.5f);
    if (u < 1) return -c / 2 * (std::sqrt(1 - u * u) - 1) + b;
    const float v = u - 2;
    return c / 2 * (std::sqrt(1 - v * v) + 1) + b;
}

// Elastic: a sine under an exponential, shifted by a quarter of its period; the amplitude is c.

float inElastic(Frame t, float b, float c, Frame d) {
    const float D = asFloat(d), u = asFloat(t) / D;
    if (t == 0) return b;
    if (u == 1) return b + c;
    const float p = kElasticPeriod * D;
    return b + c * std::exp2(10 * (u - 1)) * std::sin(((u - 1) * D - p / 4) * -kTwoPi / p);
}

float outElastic(Frame t, float b, float c, Frame d) {
    const float D = asFloat(d), u = asFloat(t) / D;
    if (t == 0) return b;
    if (u == 1) return b + c;
    const float p = kElasticPeriod * D;
    return c * std::exp2(-10 * u) * std::sin((u * D - p / 4) * kTwoPi / p) + c + b;
}

float inOutElastic(Frame t, float b, float c, Frame d) {
    const float D = asFloat(d), u = asFloat(t) / (D * 0.5f);
    if (t == 0) return b;
    if (u == 2) return b + c;
    const float p = kInOutElasticPeriod * D;
    const float x = (u - 1) * D - p / 4;
    const float swing = std::sin(2 * x * kPi / p);
    if (u < 1) return b - 0.5f * c * std::exp2(10 * (u - 1)) * swing;
    return 0.5f * c * std::exp2(-10 * (u - 1)) * swing + c + b;
}

// Back

float inBack(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / asFloat(d);
    return c * (u * u) * (kOvershootPlus1 * u - kOvershoot) + b;
}

float outBack(Frame t, float b, float c, Frame d) {
    const float w = asFloat(t) / asFloat(d) - 1;
    return c * (w * w * (kOvershootPlus1 * w + kOvershoot) + 1) + b;
}

float inOutBack(Frame t, float b, float c, Frame d) {
    const float u = asFloat(t) / (asFloat(d) * 0.5f);
    if (u < 1) return c / 2 * (u * u) * (kInOutOvershootPlus1 * u - kInOutOvershoot) + b;
    const float v = u - 2;
    return c / 2 * (v * v * (kInOutOvershootPlus1 * v + kInOutOvershoot) + 2) + b;
}

// Bounce

/// Four parabolas, each the flight of a ball between two hits of the ground at 1.
float bounce(float u) {
    struct Flight {
        float until, middle, top;
    };
    static constexpr float kGravity = 7.5625f;
    static constexpr Flight kFlights[] = {
        {0.36363637f, 0, 0},                // until 1/2.75
        {0.72727275f, 0.54545456f, 0.75f},  // until 2/2.75, around 1.5/2.75
        {0.90909094f, 0.8181818f, 0.9375f},
        {std::numeric_limits<float>::infinity(), 0.95454544f, 0.984375f},
    };
    for (const Flight& flight : kFlights)
        if (u < flight.until)
            return kGravity * ((u - flight.middle) * (u - flight.middle)) + flight.top;
    return u;  // only for infinity and NaN, of a run without frames
}

float outBounce(Frame t, float b, float c, Frame d) {
    return c * bounce(asFloat(t) / asFloat(d)) + b;
}

float inBounce(Frame t, float b, float c, Frame d) {
    return c - outBounce(truncated(asFloat(d) - asFloat(t)), 0, c, d) + b;
}

float inOutBounce(Frame t, float b, float c, Frame d) {
    const float T = asFloat(t), D = asFloat(d);
    if (D * 0.5f > T) return inBounce(truncated(2 * T), 0, c, d) * 0.5f + b;
    return outBounce(truncated(2 * T - D), 0, c, d) * 0.5f + c * 0.5f + b;
}

// Out-in: both halves of a family in half the way, each with the full number of frames.

template <EasingFunction out, EasingFunction in>
float outIn(Frame t, float b, float c, Frame d) {
    Frame twice, past;
    if (__builtin_mul_overflow(t, Frame{2}, &twice))
        platform::fatalError("Easing: twice the frame number overflows");
    if (t < d / 2) return out(twice, b, c / 2, d);
    if (__builtin_sub_overflow(twice, d, &past))
        platform::fatalError("Easing: twice the frame number overflows");
    return in(past, b + c / 2, c / 2, d);
}

#define CURVE(curve, family, direction, ...) \
    { EnumEasing::EASING_ease##curve, "EASING_ease" #curve, family, direction, __VA_ARGS__ }
#define FAMILY(curve, family, in, out, inOut)                                  \
    CURVE(In##curve, family, "in", in), CURVE(Out##curve, family, "out", out), \
        CURVE(InOut##curve, family, "in-out", inOut),                          \
        CURVE(OutIn##curve, family, "out-in", outIn<out, in>)

constexpr std::array<EasingCurve, 42> kCurves{{
    CURVE(None, "linear", "none", linear),
    FAMILY(Quad, "quad", inPower<2>, outQuad, inOutQuad),
    FAMILY(Cubic, "cubic", inPower<3>, outPower<3>, inOutPower<3>),
    FAMILY(Quart, "quart", inPower<4>, outPower<4>, inOutPower<4>),
    FAMILY(Quint, "quint", inPower<5>, outPower<5>, inOutPower<5>),
    FAMILY(Sine, "sine", inSine, outSine, inOutSine),
    FAMILY(Expo, "expo", inExpo, outExpo, inOutExpo),
    FAMILY(Circ, "circ", inCirc, outCirc, inOutCirc),
    FAMILY(Elastic, "elastic", inElastic, outElastic, inOutElastic),
    FAMILY(Back, "back", inBack, outBack, inOutBack),
    FAMILY(Bounce, "bounce", inBounce, outBounce, inOutBounce),
    CURVE(Last, "linear", "none", linear),
}};

#undef FAMILY
#undef CURVE

constexpr bool rawValuesArePositions() {
    for (std::size_t i = 0; i < kCurves.size(); ++i)
        if (static_cast<std::size_t>(kCurves[i].type) != i) return false;
    return true;
}
static_assert(rawValuesArePositions());

}  // namespace

std::optional<EnumEasing> easingWithRawValue(std::int64_t rawValue) {
    if (static_cast<std::uint64_t>(rawValue) >= kCurves.size()) return std::nullopt;
    return static_cast<EnumEasing>(rawValue);
}

std::span<const EasingCurve> easingCurves() {
    return kCurves;
}

EasingFunction easingFunction(EnumEasing type) {
    return kCurves[static_cast<std::size_t>(type)].function;
}

}  // namespace qov
