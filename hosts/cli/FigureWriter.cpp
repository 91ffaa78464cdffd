#include "hosts/cli/FigureWriter.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace qov::cli {
namespace {

using measure::allFigures;
using measure::FigureRow;
using measure::Figures;

/// Whether the table has a column for it; the remarks below have the others.
bool isInTable(const FigureRow& row) {
    return row.value != &Figures::dcLeft && row.value != &Figures::dcRight &&
           row.value != &Figures::match && row.value != &Figures::invalid;
}

int columnWidth(const FigureRow& row) {
    return static_cast<int>(std::max<std::size_t>(row.name.size(), 7));
}

double secondsOf(const Figures& figures) {
    return static_cast<double>(figures.frames) / figures.rate;
}

std::string csvText(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == text.npos) return std::string(text);
    std::string quoted = "\"";
    for (const char character : text) quoted.append(character == '"' ? 2 : 1, character);
    return quoted + '"';
}

/// Bytes of the UTF-8 character at the start of a text that is not empty; 0 where there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const auto first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    for (std::size_t at = 1; at < length; ++at)
        if ((byte(at) & 0xC0) != 0x80) return 0;
    // Longer forms than needed, surrogates, and what is beyond U+10FFFF.
    const bool isWrong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) >= 0xA0) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90) ||
                         first > 0xF4;
    return isWrong ? 0 : length;
}

}  // namespace

std::string jsonText(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        const auto length = characterLength(text);
        const auto first = static_cast<unsigned char>(text[0]);
        if (length == 0)
            json += "\\ufffd";
        else if (first < 0x20)
            json += fmt::format("\\u{:04x}", first);
        else if (first == '"' || first == '\\')
            json.append({'\\', text[0]});
        else
            json += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return json + '"';
}

std::string FigureWriter::head() const {
    if (form_ == Form::json) return "[";
    std::string names, units;
    if (form_ == Form::csv) {
        for (const auto& row : allFigures) names += fmt::format(",{}", row.name);
        return fmt::format("file,start,seconds,rate{}\n", names);
    }
    if (isCurve_) {
        names = fmt::format("{:>9}  ", "start");
        units = fmt::format("{:>9}  ", "s");
    }
    for (const auto& row : allFigures) {
        if (!isInTable(row)) continue;
        names += fmt::format("{:>{}}  ", row.name, columnWidth(row));
        units += fmt::format("{:>{}}  ", row.unit, columnWidth(row));
    }
    return fmt::format("{}file\n{}\n", names, units.substr(0, units.find_last_not_of(' ') + 1));
}

std::string FigureWriter::row(std::string_view file, const MeasuredPart& part) const {
    if (form_ == Form::json) return jsonRow(file, part);
    if (form_ == Form::table) return tableRow(file, part);
    std::string text = fmt::format("{},{:.6f},{:.6f},{}", csvText(file), part.startSeconds(),
                                   secondsOf(part.figures), part.figures.rate);
    for (const auto& row : allFigures) {
        const double value = part.figures.*row.value;
        text += std::isnan(value) ? "," : fmt::format(",{:.10g}", value);
    }
    return text + '\n';
}

std::string FigureWriter::end(const std::string& remarks) const {
    if (form_ == Form::json) return "\n]\n";
    if (remarks.empty()) return {};
    return '\n' + remarks;
}

std::string FigureWriter::tableRow(std::string_view file, const MeasuredPart& part) const {
    std::string text;
    if (isCurve_) text = fmt::format("{:9.3f}  ", part.startSeconds());
    for (const auto& row : allFigures)
        if (isInTable(row))
            text +=
                fmt::format("{:>{}}  ", figureText(row, part.figures.*row.value), columnWidth(row));
    return fmt::format("{}{}\n", text, file);
}

std::string FigureWriter::jsonRow(std::string_view file, const MeasuredPart& part) const {
    const auto& figures = part.figures;
    std::string text = fmt::format(",\n  {{\n    \"file\": {}", jsonText(file));
    if (isCurve_) text += fmt::format(",\n    \"start\": {:.6f}", part.startSeconds());
    text += fmt::format(",\n    \"seconds\": {:.6f},\n    \"rate\": {}", secondsOf(figures),
                        figures.rate);
    for (const auto& row : allFigures) {
        const double value = figures.*row.value;
        // JSON has neither NaN nor infinities.
        text += fmt::format(",\n    \"{}\": {}", row.name,
                            std::isnan(value)   ? "null"
                            : std::isinf(value) ? (value < 0 ? "\"-inf\"" : "\"inf\"")
                                                : fmt::format("{:.10g}", value));
    }
    std::string remarks;
    for (const auto& remark : remarksOn(figures))
        remarks += fmt::format("{}{}", remarks.empty() ? "" : ", ", jsonText(remark));
    return fmt::format("{},\n    \"remarks\": [{}]\n  }}", text, remarks);
}

}  // namespace qov::cli
