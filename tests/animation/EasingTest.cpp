#include "animation/Easing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>
#include <string>

namespace {

using enum qov::EnumEasing;
using qov::EnumEasing;

float value(EnumEasing type, std::int64_t t, float b, float c, std::int64_t d) {
    return qov::easingFunction(type)(t, b, c, d);
}

// The model: the textbook's "in" curves on 0..1 in double precision; the other three directions
// follow from one "in" curve by point reflection and halving, and not from formulas of their own.

using Shape = std::function<double(double x)>;

Shape power(int n) {
    return [n](double x) { return std::pow(x, n); };
}

double sine(double x) {
    return 1 - std::cos(x * std::numbers::pi / 2);
}

double expo(double x) {
    return x == 0 ? 0 : std::exp(std::numbers::ln2 * 10 * (x - 1));
}

double circ(double x) {
    return 1 - std::sqrt(1 - x * x);
}

Shape elastic(double period) {
    return [period](double x) {
        if (x == 0 || x == 1) return x;
        const double phase = 2 * std::numbers::pi / period * (x - 1) - std::numbers::pi / 2;
        return -std::exp(std::numbers::ln2 * 10 * (x - 1)) * std::sin(phase);
    };
}

Shape back(double overshoot) {
    return [=](double x) { return x * x * x + overshoot * x * x * (x - 1); };
}

/// A ball let fall at 1: the n-th bounce is half as long as the one before and a quarter as high.
double bounce(double x) {
    const double time = (1 - x) * 2.75;
    double start = -1, length = 2, height = 1;
    while (time >= start + length && height > 1.0 / 64) {
        start += length;
        length /= 2;
        height /= 4;
    }
    const double middle = start + length / 2;
    return height * (1 - std::pow((time - middle) / (length / 2), 2));
}

double modelled(const Shape& in, const Shape& inOfInOut, std::string_view direction, std::int64_t t,
                std::int64_t d) {
    const auto out = [](const Shape& shape, double x) { return 1 - shape(1 - x); };
    const double length = static_cast<double>(d), x = static_cast<double>(t) / length;
    if (direction == "out") return out(in, x);
    if (direction == "in-out")
        return x < 0.5 ? inOfInOut(2 * x) / 2 : 0.5 + out(inOfInOut, 2 * x - 1) / 2;
    if (direction == "out-in") {
        const double past = static_cast<double>(2 * t - d) / length;
        return t < d / 2 ? out(in, 2 * x) / 2 : 0.5 + in(past) / 2;
    }
    return in(x);
}

struct Family {
    std::string_view name;
    Shape in;
    Shape inOfInOut;
    double ulps[4];  // bound of the error: in, out, in-out, out-in
};

// The bounds are in units in the last place at the largest of |b|, |c| and |b + c|. Five roundings
// or so are 2 to 3 of them. Circ loses half its digits where its slope is infinite, in elastic has
// 21 radians under its sine, and out-in bounce leaves 0..1 where an odd length is halved.
const Family kFamilies[] = {
    {"linear", power(1), power(1), {1, 1, 1, 1}},
    {"quad", power(2), power(2), {2, 2.5, 2, 2}},
    {"cubic", power(3), power(3), {3, 2.5, 3, 2}},
    {"quart", power(4), power(4), {3, 5, 4, 2.5}},
    {"quint", power(5), power(5), {4, 4, 4, 2.5}},
    {"sine", sine, sine, {3.5, 2.5, 3, 2}},
    {"expo", expo, expo, {4, 1.5, 1, 2}},
    {"circ", circ, circ, {24, 6, 7, 6}},
    {"elastic", elastic(0.3), elastic(0.45), {9, 2.5, 6, 6}},
    {"back", back(1.70158), back(1.70158 * 1.525), {5, 5, 5, 3}},
    {"bounce", bounce, bounce, {3, 3, 2, 10}},
};

int directionIndex(std::string_view direction) {
    return direction == "out" ? 1 : direction == "in-out" ? 2 : direction == "out-in" ? 3 : 0;
}

/// What three curves do that no textbook has.
double modelled(const qov::EasingCurve& curve, const Family& family, std::int64_t t,
                std::int64_t d) {
    const double x = static_cast<double>(t) / static_cast<double>(d);
    if (curve.type == EASING_easeOutQuart) return 1 + std::pow(1 - x, 4);
    if (curve.type == EASING_easeInOutQuart && x >= 0.5) return 1 + std::pow(2 - 2 * x, 4) / 2;
    if (curve.type == EASING_easeOutInQuart && t < d / 2) return 0.5 + std::pow(1 - 2 * x, 4) / 2;
    if (curve.type == EASING_easeInOutExpo && t != 0 && t != d)
        return std::exp(std::numbers::ln2 * 10 * (x / 2 - 1)) / 2;
    return modelled(family.in, family.inOfInOut, curve.direction, t, d);
}

class EasingCurves : public testing::TestWithParam<qov::EasingCurve> {};

TEST_P(EasingCurves, followTheTextbookWithinTheirBound) {
    const auto& curve = GetParam();
    const auto& family = *std::ranges::find(kFamilies, curve.family, &Family::name);
    const double bound = family.ulps[directionIndex(curve.direction)];
    for (const auto& [b, c] : {std::pair{0.f, 1.f}, {10.f, -3.f}, {-0.25f, 100.f}, {-7.f, 7.f}}) {
        const float scale = std::max({std::abs(b), std::abs(c), std::abs(b + c)});
        const double ulp = std::nextafter(scale, INFINITY) - scale;
        for (std::int64_t d : {1, 2, 5, 10, 11, 60, 255, 1000, 4096, 99991})
            for (std::int64_t t = 0; t <= d; t += std::max<std::int64_t>(1, d / 257)) {
                const double expected = b + c * modelled(curve, family, t, d);
                const double error = std::abs(value(curve.type, t, b, c, d) - expected) / ulp;
                ASSERT_LE(error, bound) << "t " << t << " b " << b << " c " << c << " d " << d;
            }
    }
}

INSTANTIATE_TEST_SUITE_P(All, EasingCurves, testing::ValuesIn(qov::easingCurves()),
                         [](const auto& each) { return std::string(each.param.name.substr(7)); });

TEST(EnumEasing, isMadeFromExactlyTheRawValuesOfItsCurves) {
    for (std::int64_t raw = 0; raw < 42; ++raw) {
        ASSERT_TRUE(qov::easingWithRawValue(raw)) << raw;
        EXPECT_EQ(static_cast<std::int64_t>(*qov::easingWithRawValue(raw)), raw);
    }
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t raw : {std::int64_t{42}, std::int64_t{-1}, std::int64_t{256}, kMost, -kMost})
        EXPECT_FALSE(qov::easingWithRawValue(raw)) << raw;
    EXPECT_EQ(qov::easingWithRawValue(41), EASING_easeLast);
    EXPECT_EQ(qov::easingWithRawValue(32), EASING_easeOutInElastic);
    EXPECT_EQ(sizeof(EnumEasing), 1u);
}

struct Point {
    EnumEasing type;
    std::int64_t t;
    float b, c;
    std::int64_t d;
    float expected;
};

// Values that hold to the bit, because the formula takes a branch of its own or every step is
// exact.
const Point kExactPoints[] = {
    {EASING_easeLast, 7, 3, 5, 7, 8},
    {EASING_easeNone, 3, 0, 0x1p127f, 4, INFINITY},  // the product comes before the division
    {EASING_easeOutQuart, 0, 0, 1, 10, 2},
    {EASING_easeInExpo, 0, 0.1f, 0.7f, 10, 0.1f},
    {EASING_easeOutExpo, 10, 0.1f, 0.7f, 10, 0.1f + 0.7f},
    {EASING_easeInOutExpo, 0, 0.1f, 0.7f, 10, 0.1f},
    {EASING_easeInOutExpo, 10, 0.1f, 0.7f, 10, 0.1f + 0.7f},
    {EASING_easeInOutExpo, 20, 0, 1, 10, 0.5},  // from twice the length on: (2 - 2^0) / 2
    {EASING_easeInElastic, 10, 0.1f, 0.7f, 10, 0.1f + 0.7f},
    {EASING_easeOutElastic, 0, 0.1f, 0.7f, 10, 0.1f},
    {EASING_easeInOutElastic, 10, 0.1f, 0.7f, 10, 0.1f + 0.7f},
    {EASING_easeOutInElastic, 0, 0.1f, 0.7f, 10, 0.1f},
    {EASING_easeInOutBounce, std::int64_t{1} << 62, 0, 1, 4,
     0x1.e4p123f},  // twice the frame saturates: 7.5625 u^2
};

TEST(Easing, givesTheseValuesExactly) {
    for (const Point& point : kExactPoints)
        EXPECT_EQ(value(point.type, point.t, point.b, point.c, point.d), point.expected)
            << qov::easingCurves()[static_cast<std::size_t>(point.type)].name << " " << point.t;
}

TEST(EasingDeathTest, doublingAFrameNumberThatOverflowsIsFatal) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    EXPECT_DEATH(value(EASING_easeOutInQuad, kMost / 2 + 1, 0, 1, kMost), "overflow");
    EXPECT_DEATH(value(EASING_easeOutInSine, kLeast / 2 - 1, 0, 1, 10), "overflow");
    EXPECT_DEATH(value(EASING_easeOutInBack, kMost / 2, 0, 1, -10), "overflow");
}

}  // namespace
