// Fills a Turtle template of the bundle: {name} is replaced by a value, and the lines between
// "@each parameter" or "@each preset" and "@end" are repeated with the values of each.

#include <fmt/args.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "audiounit/parameters.h"
#include "hosts/instance/Instance.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/product.h"
#include "hosts/instance/valueText.h"
#include "hosts/lv2/Ports.h"
#include "hosts/lv2/Uris.h"

namespace qov::hosts::lv2 {
namespace {

using Values = std::map<std::string, std::string>;

std::string number(float value) {
    return fmt::format("{:.2f}", value);
}

std::string portSymbol(const Parameter& parameter) {
    return parameter.address == kBypass ? "enabled" : symbolOf(parameter.identifier);
}

/// A port's value with the panel's figure for it; the time of the phase shift, whose frames depend
/// on the sample rate.
std::string scalePoint(const Parameter& parameter, float value) {
    constexpr double anyRate = 48000;
    auto label = valueText(parameter.address, parameterOfPort(parameter.address, value), anyRate);
    if (parameter.address == kBypass) label = value > 0 ? "on" : "off";
    if (const auto time = label.find('('); time != std::string::npos)
        label = label.substr(time + 1, label.find(')') - time - 1);
    return fmt::format("[ rdfs:label \"{}\" ; rdf:value {:.2f} ]", label, value);
}

Values valuesOf(const Parameter& parameter) {
    const bool isBypass = parameter.address == kBypass;
    std::vector<std::string> points;
    for (const float value : parameter.isSwitch() ? std::vector{0.0F, 1.0F}
                                                  : std::vector{0.0F, 0.25F, 0.5F, 0.75F, 1.0F})
        points.push_back(scalePoint(parameter, value));
    const auto uri = parameterUri(parameter.identifier);
    std::string more;
    if (parameter.isSwitch()) more = "        lv2:portProperty lv2:toggled ;\n";
    if (parameter.address == kPhaseShift)
        more =
            "        units:unit [\n            a units:Unit ;\n"
            "            rdfs:label \"hundredths of a second\" ;\n"
            "            units:symbol \"× 10 ms\" ;\n"
            "            units:render \"%.2f × 10 ms\"\n        ] ;\n";
    return {{"index", std::to_string(firstControl + parameter.address)},
            {"symbol", portSymbol(parameter)},
            {"port", isBypass ? "Enabled" : std::string(parameter.name)},
            {"initial", number(portOfParameter(parameter.address, parameter.initial))},
            {"designation", isBypass ? "lv2:enabled" : "<" + uri + ">"},
            {"more", more},
            {"points", fmt::format("{}", fmt::join(points, " ,\n            "))},
            {"parameter", uri},
            {"name", std::string(parameter.name)},
            {"default", number(parameter.initial)}};
}

Values valuesOfPreset(std::size_t index) {
    std::vector<std::string> values;
    for (const auto& parameter : hostParameters)
        values.push_back(fmt::format(
            "[ lv2:symbol \"{}\" ; pset:value {:.2f} ]", portSymbol(parameter),
            portOfParameter(parameter.address, presetBank[index].values[parameter.address])));
    return {{"number", std::to_string(index)},
            {"label", std::string(presetBank[index].name)},
            {"about", std::string(presetBank[index].summary)},
            {"values", fmt::format("{}", fmt::join(values, " ,\n        "))}};
}

/// The format counts versions by two numbers, even ones for a release.
Values productValues() {
    int major = 0, minor = 0, patch = 0;
    std::sscanf(product::version, "%d.%d.%d", &major, &minor, &patch);
    return {{"uri", product::uri},
            {"product", product::name},
            {"summary", product::summary},
            {"maker", product::maker},
            {"version", product::version},
            {"minor", std::to_string((major * 100 + minor) * 2)},
            {"micro", std::to_string(patch * 2)},
            {"latency", std::to_string(latencyPort)},
            {"events", std::to_string(eventsPort)},
            {"notify", std::to_string(notifyPort)},
            {"notifyBytes", std::to_string(notifyBytes)},
            {"captureFrames", std::to_string(Instance::captureFrames)}};
}

/// Throws std::runtime_error for a name without a value.
std::string filled(const std::string& text, const Values& values) {
    fmt::dynamic_format_arg_store<fmt::format_context> arguments;
    for (const auto& [name, value] : values) arguments.push_back(fmt::arg(name.c_str(), value));
    return fmt::vformat(text, arguments);
}

std::string expanded(std::istream& lines) {
    const auto common = productValues();
    std::vector<Values> parameters, presets;
    for (const auto& parameter : hostParameters) parameters.push_back(valuesOf(parameter));
    for (std::size_t i = 0; i < presetBank.size(); ++i) presets.push_back(valuesOfPreset(i));

    const std::vector<Values> once(1);
    const auto* items = &once;
    std::string block, result;
    const auto endBlock = [&](const std::vector<Values>* next) {
        for (auto values : *items) {
            values.insert(common.begin(), common.end());
            result += filled(block, values);
        }
        block.clear();
        items = next;
    };
    for (std::string line; std::getline(lines, line);) {
        if (line == "@each parameter")
            endBlock(&parameters);
        else if (line == "@each preset")
            endBlock(&presets);
        else if (line == "@end")
            endBlock(&once);
        else
            block += line + '\n';
    }
    endBlock(&once);
    return result;
}

}  // namespace
}  // namespace qov::hosts::lv2

int main(int count, char** arguments) {
    if (count != 3) {
        std::fputs("usage: lv2-turtle TEMPLATE OUT\n", stderr);
        return 2;
    }
    try {
        std::ifstream lines(arguments[1]);
        if (!lines) throw std::runtime_error(std::strerror(errno));
        const auto text = qov::hosts::lv2::expanded(lines);
        std::ofstream out(arguments[2]);
        if (!(out << text << std::flush)) throw std::runtime_error("it cannot be written");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lv2-turtle: %s to %s: %s\n", arguments[1], arguments[2],
                     error.what());
        return 1;
    }
}
