#include "hosts/cli/OptionParser.h"

#include <algorithm>
#include <string_view>
#include <type_traits>

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "hosts/cli/Parameters.h"
#include "hosts/cli/nearestName.h"
#include "hosts/cli/parseWhole.h"
#include "hosts/instance/valueText.h"

namespace qov::cli {
namespace {

std::string unknownArgument(CLI::App& app) {
    const std::string argument = app.remaining().front();
    if (!argument.starts_with('-')) return fmt::format("'{}' is one argument too many", argument);
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const auto& name : option->get_lnames()) names.push_back("--" + name);
    const std::vector<std::string_view> candidates(names.begin(), names.end());
    const auto nearest = nearestName(argument.substr(0, argument.find('=')), candidates);
    return nearest.empty()
               ? fmt::format("unknown option '{}'", argument)
               : fmt::format("unknown option '{}'; did you mean '{}'?", argument, nearest);
}

/// Whether a word is the value of a switch.
bool isSwitchValue(const Parameter& parameter, std::string_view word) {
    const auto value =
        hosts::parseValue(parameter.address, word, highestRate, hosts::BareNumber::normalized);
    return value && *value >= minimumValue && *value <= maximumValue;
}

/// The arguments with "--bypass off" as "--bypass=off", which is how the library takes the value of
/// a switch.
std::vector<std::string> withSwitchesJoined(const CLI::App& app, const Arguments& arguments) {
    std::vector<std::string> joined;
    for (const auto& argument : arguments) {
        const std::string_view before = joined.empty() ? std::string_view() : joined.back();
        const auto* const parameter =
            before.starts_with("--") ? findParameter(before.substr(2)) : nullptr;
        if (parameter && parameter->isSwitch() && app.get_option_no_throw(joined.back()) &&
            isSwitchValue(*parameter, argument))
            joined.back() += "=" + argument;
        else
            joined.push_back(argument);
    }
    return joined;
}

template <typename Number>
Number parseWithin(const std::string& option, const std::string& text, Number minimum,
                   Number maximum) {
    Number value{};
    if (parseWhole(text, value) && value >= minimum && value <= maximum) return value;
    throw Failure(fmt::format("{} {}: takes a {}number from {} to {}", option, text,
                              std::is_integral_v<Number> ? "whole " : "", minimum, maximum),
                  2);
}

}  // namespace

OptionParser::OptionParser(const std::string& command, const std::string& description,
                           const std::string& footer)
    : app_(std::make_unique<CLI::App>(description, command)) {
    if (!footer.empty()) app_->footer(footer);
}

OptionParser::~OptionParser() = default;

void OptionParser::addArgument(const std::string& name, std::string& text,
                               const std::string& help) {
    app_->add_option(name, text, help)->required();
}

void OptionParser::addOptionalArgument(const std::string& name, std::string& text,
                                       const std::string& help) {
    app_->add_option(name, text, help);
}

void OptionParser::addArguments(const std::string& name, std::vector<std::string>& texts,
                                const std::string& help, int least, int most) {
    app_->add_option(name, texts, help)->required(least > 0)->expected(least, most);
}

void OptionParser::addOption(const std::string& name, std::string& text, const std::string& help,
                             const std::string& type) {
    app_->add_option(name, text, help)->type_name(type)->take_last();
}

void OptionParser::addRepeatedOption(const std::string& name, std::vector<std::string>& texts,
                                     const std::string& help, const std::string& type) {
    app_->add_option(name, texts, help)->type_name(type)->allow_extra_args(false);
}

void OptionParser::addSwitch(const std::string& names, bool& isOn, const std::string& help) {
    app_->add_flag(names, isOn, help);
}

void OptionParser::addParameters(std::span<std::string> texts, bool onlyInTree) {
    for (std::size_t i = 0; i < allParameters.size(); ++i) {
        const auto& parameter = allParameters[i];
        if (onlyInTree && !isHostParameter(parameter.address)) continue;
        const auto name = fmt::format("--{}", parameter.option);
        if (parameter.isSwitch())
            app_->add_flag(name, texts[i], std::string(parameter.help));
        else
            addOption(name, texts[i], std::string(parameter.help), "0..1");
    }
}

Failure OptionParser::missing(const std::string& argument) const {
    return Failure(fmt::format("{} is required; see {} --help", argument, app_->get_name()), 2);
}

std::optional<int> OptionParser::parse(const Arguments& arguments) {
    const auto needsValue = [](const std::string& value) {
        return value.empty() ? std::string("needs a value") : std::string();
    };
    for (CLI::Option* option : app_->get_options()) option->check(needsValue);
    try {
        // The library reads its arguments from the last to the first.
        auto reversed = withSwitchesJoined(*app_, arguments);
        std::ranges::reverse(reversed);
        app_->parse(std::move(reversed));
        return std::nullopt;
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", app_->help());
        return 0;
    } catch (const CLI::ExtrasError&) {
        throw Failure(fmt::format("{}; {} --help lists the options", unknownArgument(*app_),
                                  app_->get_name()),
                      2);
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string line = error.what();
        const auto option = line.substr(0, line.find(':'));
        const bool isMissing = line.find("missing") != std::string::npos;
        throw Failure(
            fmt::format("{} {}", option, isMissing ? "needs a value" : "has too many values"), 2);
    } catch (const CLI::ParseError& error) {
        std::string line = error.what();
        std::ranges::replace(line, '\n', ' ');
        throw Failure(fmt::format("{}; see {} --help", line, app_->get_name()), 2);
    }
}

std::int64_t parseNumber(const std::string& option, const std::string& text, std::int64_t minimum,
                         std::int64_t maximum) {
    return parseWithin(option, text, minimum, maximum);
}

double parseNumber(const std::string& option, const std::string& text, double minimum,
                   double maximum) {
    return parseWithin(option, text, minimum, maximum);
}

platform::CGSize parseSize(const std::string& text, int largest) {
    const std::string_view sides = text;
    const auto by = sides.find('x');
    int width = 0, height = 0;
    if (by != std::string_view::npos && parseWhole(sides.substr(0, by), width) &&
        parseWhole(sides.substr(by + 1), height) && std::min(width, height) >= 1 &&
        std::max(width, height) <= largest)
        return {static_cast<double>(width), static_cast<double>(height)};
    throw Failure(
        fmt::format("--size {}: takes WIDTHxHEIGHT in points, 1 to {} each, as in 680x440", text,
                    largest),
        2);
}

}  // namespace qov::cli
