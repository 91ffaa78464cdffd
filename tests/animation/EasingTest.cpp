#include "animation/Easing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <string_view>

namespace {

using enum qov::EnumEasing;
using qov::EnumEasing;

float value(EnumEasing type, std::int64_t t, float b, float c, std::int64_t d) {
    return qov::easingFunction(type)(t, b, c, d);
}

// The model: the textbook's "in" curves on 0..1 in double precision; the other three directions
// follow from one "in" curve by point reflection and halving, and not from formulas of their own.

using std::numbers::pi;
using Shape = std::function<double(double x)>;

const auto power = [](int n) { return Shape([n](double x) { return std::pow(x, n); }); };
const auto grow = [](double x) { return std::exp2(10 * x); };
const Shape sine = [](double x) { return 1 - std::cos(x * pi / 2); };
const Shape expo = [](double x) { return x == 0 ? 0 : grow(x - 1); };
const Shape circ = [](double x) { return 1 - std::sqrt(1 - x * x); };

Shape elastic(double period) {
    return [period](double x) {
        if (x == 0 || x == 1) return x;
        return -grow(x - 1) * std::sin(2 * pi / period * (x - 1) - pi / 2);
    };
}

const auto back = [](double overshoot) {
    return Shape([=](double x) { return x * x * x + overshoot * x * x * (x - 1); });
};

/// A ball let fall at 1: the n-th bounce is half as long as the one before and a quarter as high.
double bounce(double x) {
    const double time = (1 - x) * 2.75;
    double start = -1, length = 2, height = 1;
    for (; time >= start + length && height > 1.0 / 64; length /= 2, height /= 4) start += length;
    return height * (1 - std::pow((time - start - length / 2) / (length / 2), 2));
}

struct Family {
    std::string_view name;
    Shape in, inOfInOut;
    double bound;  // of the error
};

// The bounds are in units in the last place at the largest of |b|, |c| and |b + c|. Five roundings
// or so are 2 to 5 of them. Circ loses half its digits where its slope is infinite, elastic has 21
// radians under its sine, and out-in bounce leaves 0..1 where an odd length is halved.
const Family kFamilies[] = {
    {"linear", power(1), power(1), 1},
    {"quad", power(2), power(2), 2.5},
    {"cubic", power(3), power(3), 3},
    {"quart", power(4), power(4), 5},
    {"quint", power(5), power(5), 4},
    {"sine", sine, sine, 3.5},
    {"expo", expo, expo, 4},
    {"circ", circ, circ, 24},
    {"elastic", elastic(0.3), elastic(0.45), 9},
    {"back", back(1.70158), back(1.70158 * 1.525), 5},
    {"bounce", bounce, bounce, 10},
};

double modelled(const qov::EasingCurve& curve, const Family& family, std::int64_t t,
                std::int64_t d) {
    const double length = static_cast<double>(d), x = static_cast<double>(t) / length;
    // What four curves do that no textbook has.
    if (curve.type == EASING_easeOutQuart) return 1 + std::pow(1 - x, 4);
    if (curve.type == EASING_easeInOutQuart && x >= 0.5) return 1 + std::pow(2 - 2 * x, 4) / 2;
    if (curve.type == EASING_easeOutInQuart && t < d / 2) return 0.5 + std::pow(1 - 2 * x, 4) / 2;
    if (curve.type == EASING_easeInOutExpo && t != 0 && t != d) return grow(x / 2 - 1) / 2;

    const auto out = [](const Shape& shape, double at) { return 1 - shape(1 - at); };
    if (curve.direction == "out") return out(family.in, x);
    if (curve.direction == "in-out")
        return x < 0.5 ? family.inOfInOut(2 * x) / 2 : 0.5 + out(family.inOfInOut, 2 * x - 1) / 2;
    if (curve.direction == "out-in")
        return t < d / 2 ? out(family.in, 2 * x) / 2
                         : 0.5 + family.in(static_cast<double>(2 * t - d) / length) / 2;
    return family.in(x);
}

TEST(Easing, CurvesFollowTheTextbookWithinTheirBound) {
    for (const auto& curve : qov::easingCurves()) {
        const auto& family = *std::ranges::find(kFamilies, curve.family, &Family::name);
        for (const auto& [b, c] :
             {std::pair{0.f, 1.f}, {10.f, -3.f}, {-0.25f, 100.f}, {-7.f, 7.f}}) {
            const float scale = std::max({std::abs(b), std::abs(c), std::abs(b + c)});
            const double ulp = std::nextafter(scale, INFINITY) - scale;
            for (std::int64_t d : {1, 2, 5, 10, 11, 60, 255, 1000, 4096, 99991})
                for (std::int64_t t = 0; t <= d; t += std::max<std::int64_t>(1, d / 257)) {
                    const double expected = b + c * modelled(curve, family, t, d);
                    const double error = std::abs(value(curve.type, t, b, c, d) - expected) / ulp;
                    ASSERT_LE(error, family.bound)
                        << curve.name << " t " << t << " b " << b << " d " << d;
                }
        }
    }
}

TEST(Easing, TypesAreMadeFromExactlyTheRawValuesOfTheCurves) {
    EXPECT_EQ(qov::easingWithRawValue(0), EASING_easeNone);
    EXPECT_EQ(qov::easingWithRawValue(41), EASING_easeLast);
    for (const auto raw : {std::int64_t{42}, std::int64_t{-1}, std::int64_t{256}, INT64_MIN})
        EXPECT_FALSE(qov::easingWithRawValue(raw)) << raw;
}

TEST(Easing, WhatTheModelLeavesOut) {
    EXPECT_EQ(value(EASING_easeInOutExpo, 40, 0, 1, 10), 1 - 0x1p-11f) << "from 2 lengths on";
    EXPECT_EQ(value(EASING_easeLast, 3, 0, 0x1p127f, 4), INFINITY) << "product before division";
    EXPECT_EQ(value(EASING_easeInOutBounce, std::int64_t{1} << 62, 0, 1, 4), 0x1.e4p123f)
        << "twice the frame saturates: 7.5625 u^2";
    EXPECT_DEATH(value(EASING_easeOutInQuad, INT64_MAX / 2 + 1, 0, 1, INT64_MAX), "overflow");
}

}  // namespace
