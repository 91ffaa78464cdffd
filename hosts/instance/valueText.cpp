#include "hosts/instance/valueText.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include <fmt/core.h>

#include "audiounit/parameters.h"
#include "dsp/longestDelay.h"
#include "platform/foundation/numberText.h"

namespace qov::hosts {
namespace {

/// Per cent to either side of the centre, whole; in double precision, as the panel rounds it.
long percent(float value) {
    return std::lround((2 * double{value} - 1) * 100);
}

float fullShift(double sampleRate) {
    return longestDelay(static_cast<float>(sampleRate));
}

std::string lowerCase(std::string_view text) {
    std::string result;
    for (const char c : text)
        if (!std::isspace(static_cast<unsigned char>(c)))
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// A number and the text after it.
struct Number {
    double number;
    std::string_view unit;

    bool isBare() const { return unit.empty(); }
};

std::optional<Number> leadingNumber(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    double number = 0;
    const auto read = platform::readNumber(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc{} || !std::isfinite(number)) return std::nullopt;
    return Number{number, text.substr(static_cast<std::size_t>(read.ptr - text.data()))};
}

/// Per cent of the way from the centre to an end, as 0..1.
std::optional<double> fromPercent(const std::optional<Number>& number, double sign) {
    if (!number || (number->unit != "%" && !number->isBare())) return std::nullopt;
    return (sign * number->number / 100 + 1) / 2;
}

std::optional<double> parsePanorama(std::string_view text) {
    if (text == "c" || text == "center" || text == "centre") return 0.5;
    if (text.starts_with('l')) return fromPercent(leadingNumber(text.substr(1)), -1);
    if (text.starts_with('r')) return fromPercent(leadingNumber(text.substr(1)), 1);
    return fromPercent(leadingNumber(text), 1);
}

std::optional<double> parseShift(std::string_view text, double sampleRate) {
    text = text.substr(0, text.find('('));  // the time behind the samples
    const auto number = leadingNumber(text);
    if (!number) return std::nullopt;
    double frames = number->number;
    if (number->unit == "ms")
        frames = std::round(frames * sampleRate / 1000);
    else if (!number->isBare() && number->unit != "samples" && number->unit != "sample")
        return std::nullopt;
    const double full = fullShift(sampleRate);
    if (frames < 0 || frames > std::ceil(full)) return frames / full;
    // One frame is the shortest shift; the half keeps rounding away from the frame's edge.
    return frames < 2 ? 0.0 : std::min((frames + 0.5) / full, 1.0);
}

std::optional<double> parseGain(std::string_view text) {
    const auto number = leadingNumber(text);
    if (!number) return std::nullopt;
    if (number->unit == "db") return std::pow(10.0, number->number / 20);
    if (number->unit != "%" && !number->isBare()) return std::nullopt;
    return number->number / 100;
}

std::optional<double> parseSwitch(std::string_view text) {
    for (const auto* word : {"on", "yes", "true", "1"})
        if (text == word) return 1.0;
    for (const auto* word : {"off", "no", "false", "0"})
        if (text == word) return 0.0;
    return std::nullopt;
}

}  // namespace

std::string valueText(std::uint64_t address, float asked, double sampleRate) {
    // NaN counts as 0, as where a float becomes an integer.
    const float value = std::isnan(asked) ? 0.0f : std::clamp(asked, 0.0f, 1.0f);
    const auto* const parameter = parameterAt(address);
    if (!parameter) return {};
    switch (parameter->form) {
        case ValueForm::width:
            return percent(value) == 0 ? "0 %" : fmt::format("{:+} %", percent(value));
        case ValueForm::panorama:
            if (percent(value) == 0) return "C";
            return fmt::format("{} {} %", value < 0.5f ? 'L' : 'R', std::abs(percent(value)));
        case ValueForm::phaseShift: {
            const auto frames = std::max(1L, static_cast<long>(fullShift(sampleRate) * value));
            return fmt::format("{} {} ({:.1f} ms)", frames, frames == 1 ? "sample" : "samples",
                               static_cast<double>(frames) / sampleRate * 1000);
        }
        case ValueForm::onOff:
            return value > 0.5f ? "on" : "off";
        case ValueForm::gain:
            return fmt::format("{:.0f} %", value * 100);
    }
    return {};
}

std::optional<double> parseValue(std::uint64_t address, std::string_view text, double sampleRate,
                                 BareNumber bareNumber) {
    const auto plain = lowerCase(text);
    const auto* const parameter = parameterAt(address);
    if (!parameter) return std::nullopt;
    if (const auto number = leadingNumber(plain); number && number->isBare()) {
        const bool isFraction =
            plain.find('.') != plain.npos && number->number >= 0 && number->number <= 1;
        if (bareNumber == BareNumber::normalized || (bareNumber == BareNumber::typed && isFraction))
            return number->number;
    }
    switch (parameter->form) {
        case ValueForm::width:
            return fromPercent(leadingNumber(plain), 1);
        case ValueForm::panorama:
            return parsePanorama(plain);
        case ValueForm::phaseShift:
            return parseShift(plain, sampleRate);
        case ValueForm::onOff:
            return parseSwitch(plain);
        case ValueForm::gain:
            return parseGain(plain);
    }
    return std::nullopt;
}

}  // namespace qov::hosts
