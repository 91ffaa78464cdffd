// Signals made by formula, and figures that follow from the formula or come from another program.
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include <ebur128.h>
#include <gmock/gmock.h>

#include "hosts/measure/StereoMeter.h"

namespace {

using std::numbers::pi;
using testing::ElementsAre;
using testing::StartsWith;

struct Signal {
    int rate = 48000;
    std::vector<float> left, right;

    void add(double l, double r) {
        left.push_back(static_cast<float>(l));
        right.push_back(static_cast<float>(r));
    }
    /// In pieces of uneven length, as a reader may hand them over.
    auto measured() const {
        qov::measure::StereoMeter meter(rate);
        for (std::size_t at = 0, piece = 1; at < left.size(); at += piece, piece = piece * 7 % 9973)
            meter.add(&left[at], &right[at], std::min(piece, left.size() - at));
        return meter.finish();
    }
};

double gain(double decibels) {
    return std::pow(10, decibels / 20);
}

/// Band-limited noise as a function of time in frames, so that it can be late by parts of one.
auto noiseOf(unsigned seed) {
    std::array<std::pair<double, double>, 60> tones;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> part(0, 1);
    for (auto& [frequency, phase] : tones)
        frequency = 0.8 * pi * part(random), phase = 2 * pi * part(random);
    return [tones](double frame) {
        double sum = 0;
        for (const auto& [frequency, phase] : tones) sum += std::sin(frequency * frame + phase);
        return 0.05 * sum;
    };
}

TEST(StereoMeter, CorrelationSideBalancePeakAndOffsetOfSinesAreThoseOfTheirFormula) {
    for (const auto& [rightGain, phase, offset] : {std::tuple{1.0, 0.0, 0.0},
                                                   {0.5, 0.25, 0.0},
                                                   {1.0, 0.5, 0.1},
                                                   {2.0, 1.0, 0.0},
                                                   {0.25, 0.8, -0.25}}) {
        Signal signal;
        for (int i = 0; i < 48000; ++i) {
            const double angle = 2 * pi * 1000 * i / 48000;
            signal.add(0.4 * std::sin(angle),
                       0.4 * rightGain * std::sin(angle + phase * pi) + offset);
        }
        const auto f = signal.measured();
        const double ll = 0.08, rr = 0.08 * rightGain * rightGain + offset * offset;
        const double lr = 0.08 * rightGain * std::cos(phase * pi);
        EXPECT_NEAR(f.correlation, lr / std::sqrt(ll * rr), 1e-6);
        EXPECT_NEAR(f.balance, 10 * std::log10(rr / ll), 1e-5);
        if (ll + rr - 2 * lr > 1e-9)
            EXPECT_NEAR(f.sideToMid, 10 * std::log10((ll + rr - 2 * lr) / (ll + rr + 2 * lr)),
                        1e-4);
        else
            EXPECT_EQ(f.sideToMid, -INFINITY);
        EXPECT_NEAR(f.peak,
                    20 * std::log10(0.4 * std::max(1.0, rightGain + std::abs(offset) / 0.4)), 0.02);
        EXPECT_NEAR(f.dcLeft, 0, 1e-6);
        EXPECT_NEAR(f.dcRight, offset, 1e-6);
    }
}

TEST(StereoMeter, TheLoudnessTestSignalsOfTheEbuAreWithinItsTolerances) {
    // Level in dBFS of a sine of 1 kHz on both sides, and seconds of it.
    using Parts = std::vector<std::pair<double, double>>;
    // NaN where Tech 3341 and 3342 name no loudness or range.
    for (const auto& [parts, loudness, range] : {
             std::tuple{Parts{{-23, 20}}, -23.0, double{NAN}},
             {{{-33, 20}}, -33, NAN},
             {{{-36, 10}, {-23, 60}, {-36, 10}}, -23, NAN},
             {{{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}}, -23, NAN},
             {{{-26, 20}, {-20, 20.1}, {-26, 20}}, -23, NAN},
             {{{-20, 20}, {-30, 20}}, NAN, 10},
             {{{-20, 20}, {-15, 20}}, NAN, 5},
             {{{-40, 20}, {-20, 20}}, NAN, 20},
             {{{-50, 20}, {-35, 20}, {-20, 20}, {-35, 20}, {-50, 20}}, NAN, 15},
         }) {
        Signal signal{.rate = 16000, .left = {}, .right = {}};  // a third of the usual work
        for (const auto& [level, seconds] : parts)
            for (int i = 0; i < seconds * signal.rate; ++i) {
                const double sample = gain(level) * std::sin(2 * pi * 1000 * i / signal.rate);
                signal.add(sample, sample);
            }
        const auto f = signal.measured();
        EXPECT_TRUE(std::isnan(loudness) || std::abs(f.loudness - loudness) < 0.1) << f.loudness;
        EXPECT_TRUE(std::isnan(range) || std::abs(f.range - range) < 1) << f.range;
        EXPECT_NEAR(f.monoCost, 0, 1e-9);
    }
}

TEST(StereoMeter, TheTruePeakTestSignalsOfTheEbuAreWithinItsTolerances) {
    for (const auto& [period, level, degrees, expected] : {std::tuple{4, 0.5, 0.0, -6.0},
                                                           {4, 0.5, 45.0, -6.0},
                                                           {6, 0.5, 60.0, -6.0},
                                                           {8, 0.5, 67.5, -6.0},
                                                           {4, 1.41, 45.0, 3.0}}) {
        Signal signal;
        for (int i = 0; i < 9600; ++i) {
            // Faded in and out, as the EBU has it, so that no edge overshoots.
            const double fade = std::min({1.0, i / 960.0, (9599 - i) / 960.0});
            signal.add(0, level * fade * std::sin(2 * pi * i / period + degrees * pi / 180));
        }
        const double peak = signal.measured().truePeak;
        EXPECT_LE(peak, expected + 0.2) << period << " " << degrees;
        EXPECT_GE(peak, expected - 0.4) << period << " " << degrees;
    }
}

TEST(StereoMeter, AgreesWithLibebur128OnNoiseOfChangingLevel) {
    Signal signal{.rate = 44100, .left = {}, .right = {}};
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 0.1);
    std::vector<float> both, sum;
    for (int i = 0; i < 30 * signal.rate; ++i) {
        const double level = gain(-15 + 15 * std::sin(i / 70000.0));
        const double left = level * noise(random);
        signal.add(left, 0.6 * left + 0.5 * level * noise(random));
        both.insert(both.end(), {signal.left.back(), signal.right.back()});
        for (int side = 0; side < 2; ++side)
            sum.push_back((signal.left.back() + signal.right.back()) / 2);
    }
    const auto reference = [](const std::vector<float>& samples) {
        auto* state =
            ebur128_init(2, 44100, EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK);
        ebur128_add_frames_float(state, samples.data(), samples.size() / 2);
        double loudness = 0, range = 0, left = 0, right = 0;
        ebur128_loudness_global(state, &loudness);
        ebur128_loudness_range(state, &range);
        ebur128_true_peak(state, 0, &left);
        ebur128_true_peak(state, 1, &right);
        ebur128_destroy(&state);
        return std::tuple(loudness, range, 20 * std::log10(std::max(left, right)));
    };
    const auto [loudness, range, peak] = reference(both);
    const auto f = signal.measured();
    EXPECT_NEAR(f.loudness, loudness, 0.015);
    EXPECT_NEAR(f.range, range, 0.05);
    EXPECT_NEAR(f.monoCost, loudness - std::get<0>(reference(sum)), 0.03);
    EXPECT_NEAR(f.truePeak, peak, 0.1);
}

TEST(StereoMeter, FindsTheDelayOfNoiseAndOfSinesToAHundredthOfAFrame) {
    const auto noise = noiseOf(3);
    for (const int rate : {8000, 44100})
        for (const double delay : {0.0, 1.0, -1.0, 0.37, -132.0, 132.4, -0.019 * rate})
            for (const double polarity : {1.0, -0.5}) {
                Signal signal{.rate = rate, .left = {}, .right = {}};
                // With an offset, which is the same at every delay.
                for (int i = 0; i < 12000; ++i)
                    signal.add(polarity * noise(i - delay) + 0.3, noise(i) + 0.5);
                if (std::abs(delay) > 0.02 * rate) continue;
                const auto f = signal.measured();
                EXPECT_NEAR(f.delay, delay, 0.01) << rate << " " << polarity;
                EXPECT_NEAR(std::abs(f.match), 1 - std::abs(delay) / 12000, 0.002) << delay;
                EXPECT_EQ(f.match < 0, polarity < 0) << rate << " " << delay;
            }
    for (const double frequency : {50.0, 440.0, 5000.0}) {
        Signal signal;
        const double delay = std::min(132.25, 0.4 * signal.rate / frequency);
        for (int i = 0; i < 48000; ++i) {
            const auto sine = [&](double frame) {
                return 0.5 * std::sin(2 * pi * frequency * frame / signal.rate);
            };
            signal.add(sine(i - delay), sine(i));
        }
        EXPECT_NEAR(signal.measured().delay, delay, frequency < 100 ? 1 : 0.05) << frequency;
    }
    // Nothing in common: no delay is made up.
    Signal apart;
    const auto other = noiseOf(4);
    for (int i = 0; i < 24000; ++i) apart.add(noise(i), other(i));
    EXPECT_TRUE(std::isnan(apart.measured().delay)) << apart.measured().delay;
}

TEST(StereoMeter, SaysWhatADelayIsAndWhatMendsIt) {
    const auto noise = noiseOf(3);
    const auto remarks = [&](double delay, double polarity) {
        Signal signal{.rate = 44100, .left = {}, .right = {}};
        for (int i = 0; i < 9000; ++i) signal.add(polarity * noise(i - delay), noise(i));
        return remarksOn(signal.measured());
    };
    EXPECT_THAT(remarks(0, 1), ElementsAre("mono: both channels are the same"));
    EXPECT_THAT(
        remarks(132, 1),
        ElementsAre("left late by 132 frames, 2.99 ms; render --swap-channels, and then render "
                    "--swap-channels --phase-shift 133samples mends it"));
    EXPECT_THAT(
        remarks(-1, 1),
        ElementsAre("right late by 1 frame, 0.02 ms; render --phase-shift 1samples mends it"));
    EXPECT_THAT(remarks(-440.4, -1),
                ElementsAre("right late by 440.4 frames, 9.99 ms and of opposite polarity; render "
                            "--phase-shift 440samples --invert-channel mends it"));
    EXPECT_THAT(remarks(-442, 1),
                ElementsAre("right late by 442 frames, 10.02 ms; more than the effect can mend"));
    EXPECT_THAT(remarks(0, -1), ElementsAre(StartsWith("the channels are of opposite polarity; ")));
}

TEST(StereoMeter, SilenceIsUndefinedAndWhatIsNotANumberIsCountedAndLeftOut) {
    Signal silent;
    for (int i = 0; i < 48000; ++i) silent.add(0, 0);
    const auto f = silent.measured();
    for (const double figure :
         {f.correlation, f.sideToMid, f.balance, f.monoCost, f.range, f.delay})
        EXPECT_TRUE(std::isnan(figure)) << figure;
    for (const double figure : {f.peak, f.truePeak, f.loudness}) EXPECT_EQ(figure, -INFINITY);
    EXPECT_THAT(remarksOn(f), ElementsAre(StartsWith("silent: correlation")));

    Signal clean, broken;
    const auto noise = noiseOf(3);
    for (int i = 0; i < 48000; ++i) {
        const bool isHole = i == 7200 || i == 9000;
        clean.add(isHole ? 0 : noise(i), i == 9000 ? 0 : noise(i - 2));
        broken.add(isHole ? NAN : noise(i), i == 9000 ? -INFINITY : noise(i - 2));
    }
    const auto expected = clean.measured(), found = broken.measured();
    for (const auto& row : qov::measure::allFigures)
        EXPECT_TRUE(found.*row.value == expected.*row.value || row.name == "invalid" ||
                    row.name == "range")
            << row.name;
    EXPECT_EQ(remarksOn(found)[0],
              "3 samples are NaN or infinite, from frame 7200 (0.150 s) on; counted as 0");
    // As loud as floats can be: nothing overflows into a wrong figure.
    Signal huge;
    for (int i = 0; i < 48000; ++i) huge.add(i % 2 != 0 ? 3e38 : -3e38, 3e38);
    EXPECT_NEAR(huge.measured().peak, 20 * std::log10(3e38), 1e-3);
    EXPECT_NEAR(huge.measured().correlation, 0, 1e-9);
}

}  // namespace
