#include "hosts/cli/parseOptions.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "hosts/cli/Parameters.h"
#include "hosts/cli/nearestName.h"
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

}  // namespace

void declareParameters(CLI::App& app, std::span<std::string> texts, bool onlyInTree) {
    for (std::size_t i = 0; i < allParameters.size(); ++i) {
        const auto& parameter = allParameters[i];
        if (onlyInTree && !isHostParameter(parameter.address)) continue;
        const auto name = fmt::format("--{}", parameter.option);
        if (parameter.isSwitch())
            app.add_flag(name, texts[i], std::string(parameter.help));
        else
            app.add_option(name, texts[i], std::string(parameter.help))
                ->type_name("0..1")
                ->take_last();
    }
}

namespace {

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

}  // namespace

std::optional<int> parseOptions(CLI::App& app, const Arguments& arguments) {
    const auto needsValue = [](const std::string& value) {
        return value.empty() ? std::string("needs a value") : std::string();
    };
    for (CLI::Option* option : app.get_options()) option->check(needsValue);
    try {
        // The library takes its arguments from the back.
        auto reversed = withSwitchesJoined(app, arguments);
        std::ranges::reverse(reversed);
        app.parse(std::move(reversed));
        return std::nullopt;
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", app.help());
        return 0;
    } catch (const CLI::ExtrasError&) {
        throw Failure(
            fmt::format("{}; {} --help lists the options", unknownArgument(app), app.get_name()),
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
        throw Failure(fmt::format("{}; see {} --help", line, app.get_name()), 2);
    }
}

}  // namespace qov::cli
