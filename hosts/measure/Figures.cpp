#include "hosts/measure/Figures.h"

#include <fmt/format.h>

namespace qov::measure {
namespace {

// What is worth a word.
constexpr double smallestDelay = 0.5;    // frames
constexpr double smallestMatch = 0.7;    // for a delay
constexpr double smallestOffset = 2e-3;  // -54 dBFS
constexpr int longestShift = 100;        // the effect's phase shift, in shares of a second

/// A run of `kelvane render` for right channels that are late. The left one is always delayed by a
/// frame at least, so that a left channel that is late or in time takes two runs.
std::string mendOf(const Figures& figures) {
    const auto frames = std::lround(figures.delay);
    const bool isRightLate = frames < 0;
    const long shift = isRightLate ? -frames : frames + 1;
    if (shift > figures.rate / longestShift) return "; more than the effect can mend";
    return fmt::format("; {}render {}--phase-shift {}samples{} mends it",
                       isRightLate ? "" : "render --swap-channels, and then ",
                       isRightLate ? "" : "--swap-channels ", shift,
                       figures.match < 0 ? " --invert-channel" : "");
}

std::string delayRemark(const Figures& figures) {
    if (!(std::abs(figures.match) >= smallestMatch)) return {};
    const double frames = std::abs(figures.delay);
    const bool isLate = frames >= smallestDelay;
    if (!(isLate || figures.match < 0)) return {};
    std::string remark;
    if (isLate) {
        const bool isWhole = std::abs(frames - std::round(frames)) < 0.05;
        remark = fmt::format("{} late by {:.{}f} {}, {:.2f} ms",
                             figures.delay > 0 ? "left" : "right", frames, isWhole ? 0 : 1,
                             isWhole && std::lround(frames) == 1 ? "frame" : "frames",
                             frames / figures.rate * 1000);
    }
    if (figures.match < 0)
        remark += isLate ? " and of opposite polarity" : "the channels are of opposite polarity";
    return remark + (std::lround(frames) > 0 || figures.match < 0 ? mendOf(figures) : "");
}

std::string offsetRemark(const Figures& figures) {
    const bool isLeft = std::abs(figures.dcLeft) >= smallestOffset;
    const bool isRight = std::abs(figures.dcRight) >= smallestOffset;
    if (isLeft && isRight)
        return fmt::format("an offset (DC) of {:.4f} left and {:.4f} right", figures.dcLeft,
                           figures.dcRight);
    if (isLeft) return fmt::format("an offset (DC) of {:.4f} on the left", figures.dcLeft);
    if (isRight) return fmt::format("an offset (DC) of {:.4f} on the right", figures.dcRight);
    return {};
}

}  // namespace

std::string figureText(const FigureRow& row, double value) {
    if (std::isnan(value)) return "-";
    const auto text = fmt::format("{:.{}f}", value, row.decimals);
    // "-0.0" is a rounded negative number.
    return text.find_first_not_of("-0.") == text.npos && text.front() == '-' ? text.substr(1)
                                                                             : text;
}

std::vector<std::string> remarksOn(const Figures& figures) {
    std::vector<std::string> remarks;
    if (figures.frames == 0)
        remarks.emplace_back("no sound: all figures are undefined");
    else if (figures.isSilent())
        remarks.emplace_back("silent: correlation, side to mid, balance and delay are undefined");
    else if (figures.sideToMid == -HUGE_VAL)
        remarks.emplace_back("mono: both channels are the same");
    if (figures.invalid > 0)
        remarks.push_back(fmt::format(
            "{} {} NaN or infinite, from frame {} ({:.3f} s) on; counted as 0", figures.invalid,
            figures.invalid == 1 ? "sample is" : "samples are", figures.firstInvalid,
            static_cast<double>(figures.firstInvalid) / figures.rate));
    for (auto remark : {offsetRemark(figures), delayRemark(figures)})
        if (!remark.empty()) remarks.push_back(std::move(remark));
    return remarks;
}

}  // namespace qov::measure
