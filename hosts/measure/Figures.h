#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qov::measure {

/// What a stereo signal measures. L and R are the samples, 1 for full scale. A figure that has no
/// value is NaN; a level of nothing is -infinity.
struct Figures {
    int rate = 0;  ///< frames per second
    std::int64_t frames = 0;
    std::int64_t firstInvalid = -1;  ///< frame of the first NaN or infinity

    double correlation = NAN;  ///< sum LR / sqrt(sum LL * sum RR), -1..1
    double sideToMid = NAN;    ///< power of (L - R) / 2 over that of (L + R) / 2, dB
    double balance = NAN;      ///< power of R over that of L, dB
    double peak = NAN;         ///< highest sample, dBFS
    double truePeak = NAN;     ///< highest level between samples, ITU-R BS.1770-4, dBTP
    double loudness = NAN;     ///< integrated, EBU R 128, LUFS
    double range = NAN;        ///< loudness range, EBU Tech 3342, LU
    double monoCost = NAN;     ///< loudness less that of (L + R) / 2 on both sides, LU
    double dcLeft = NAN;       ///< mean of L
    double dcRight = NAN;      ///< mean of R
    double delay = NAN;        ///< of the left channel after the right; negative: before; frames
    double match = NAN;        ///< correlation, without the means, at that delay, -1..1
    double invalid = 0;        ///< how many samples are NaN or infinite; they count as 0

    /// Whether every sample is 0.
    bool isSilent() const { return std::isinf(peak); }
};

/// How a figure is named and written.
struct FigureRow {
    std::string_view name;
    std::string_view unit;
    int decimals;  ///< that are worth reading
    double Figures::*value;
};

/// Every figure.
inline constexpr std::array allFigures{
    FigureRow{"correlation", "", 2, &Figures::correlation},
    FigureRow{"side-to-mid", "dB", 1, &Figures::sideToMid},
    FigureRow{"balance", "dB", 1, &Figures::balance},
    FigureRow{"peak", "dBFS", 1, &Figures::peak},
    FigureRow{"true-peak", "dBTP", 1, &Figures::truePeak},
    FigureRow{"loudness", "LUFS", 1, &Figures::loudness},
    FigureRow{"range", "LU", 1, &Figures::range},
    FigureRow{"mono-cost", "LU", 1, &Figures::monoCost},
    FigureRow{"dc-left", "", 4, &Figures::dcLeft},
    FigureRow{"dc-right", "", 4, &Figures::dcRight},
    FigureRow{"delay", "frames", 1, &Figures::delay},
    FigureRow{"match", "", 2, &Figures::match},
    FigureRow{"invalid", "", 0, &Figures::invalid},
};

/// A value as people read it: with the row's decimals, no sign before zero, "-" where it is
/// undefined.
std::string figureText(const FigureRow& row, double value);

/// What deserves a sentence: silence, mono, samples that are not finite, an offset, and a delay
/// with the settings of the effect that mend it, as in "left late by 132 frames, 2.99 ms".
std::vector<std::string> remarksOn(const Figures& figures);

}  // namespace qov::measure
