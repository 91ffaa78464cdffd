#include "hosts/instance/valueText.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

#include <fmt/core.h>

#include "audiounit/parameters.h"

namespace qov::hosts {
namespace {

/// Per cent to either side of the centre, whole.
long percent(float value) {
    return std::lround((value * 2 - 1) * 100);
}

/// Full scale of the phase shift is a hundredth of a second.
float fullShift(double sampleRate) {
    return static_cast<float>(sampleRate) / 100.0f;
}

std::string lowerCase(std::string_view text) {
    std::string result;
    for (const char c : text)
        if (!std::isspace(static_cast<unsigned char>(c)))
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// A number and what follows it.
struct Number {
    double number;
    std::string_view unit;
};

std::optional<Number> leadingNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc{} || !std::isfinite(number)) return std::nullopt;
    return Number{number, text.substr(static_cast<std::size_t>(read.ptr - text.data()))};
}

float fromPercent(double perCent) {
    return static_cast<float>(std::clamp((perCent / 100 + 1) / 2, 0.0, 1.0));
}

std::optional<float> parsePercent(std::string_view text, double sign) {
    const auto number = leadingNumber(text);
    if (!number || (number->unit != "%" && !number->unit.empty())) return std::nullopt;
    return fromPercent(sign * number->number);
}

std::optional<float> parsePanorama(std::string_view text) {
    if (text == "c" || text == "center" || text == "centre") return 0.5f;
    if (text.starts_with('l')) return parsePercent(text.substr(1), -1);
    if (text.starts_with('r')) return parsePercent(text.substr(1), 1);
    return parsePercent(text, 1);
}

std::optional<float> parseShift(std::string_view text, double sampleRate) {
    const auto number = leadingNumber(text);
    if (!number) return std::nullopt;
    double frames = number->number;
    if (number->unit == "ms")
        frames = std::round(frames * sampleRate / 1000);
    else if (!number->unit.empty() && !number->unit.starts_with("sample"))
        return std::nullopt;
    // One frame is the least there is; the half puts the value safely past the frame's edge.
    if (frames < 2) return 0.0f;
    return static_cast<float>(std::min((frames + 0.5) / fullShift(sampleRate), 1.0));
}

std::optional<float> parseGain(std::string_view text) {
    const auto number = leadingNumber(text);
    if (!number || (number->unit != "%" && !number->unit.empty())) return std::nullopt;
    return static_cast<float>(std::clamp(number->number / 100, 0.0, 1.0));
}

std::optional<float> parseSwitch(std::string_view text) {
    for (const auto* word : {"on", "yes", "true", "1"})
        if (text == word) return 1.0f;
    for (const auto* word : {"off", "no", "false", "0"})
        if (text == word) return 0.0f;
    return std::nullopt;
}

}  // namespace

std::string valueText(std::uint64_t address, float asked, double sampleRate) {
    // Hosts ask for any number; what is none reads as 0, as where a float becomes an integer.
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

std::optional<float> parseValue(std::uint64_t address, std::string_view text, double sampleRate) {
    const auto plain = lowerCase(text);
    const auto* const parameter = parameterAt(address);
    if (!parameter) return std::nullopt;
    switch (parameter->form) {
        case ValueForm::width:
            return parsePercent(plain, 1);
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
