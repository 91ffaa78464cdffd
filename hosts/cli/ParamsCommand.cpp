#include "hosts/cli/ParamsCommand.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <nlohmann/json.hpp>

#include "hosts/cli/Parameters.h"
#include "hosts/cli/parseOptions.h"

namespace qov::cli {
namespace {

void printTable() {
    constexpr auto row = "{:>7}  {:<14}  {:<5}  {:>7}  {:<11}  {}\n";
    fmt::print(row, "ADDRESS", "NAME", "RANGE", "DEFAULT", "UNIT", "EFFECT");
    for (const auto& parameter : allParameters)
        fmt::print(row, parameter.address, parameter.option,
                   fmt::format("{}..{}", minimumValue, maximumValue), parameter.initial,
                   unitOf(parameter),
                   fmt::format("{}{}", parameter.help,
                               isHostParameter(parameter.address) ? "" : " (kernel only)"));
}

void printJson() {
    auto list = nlohmann::ordered_json::array();
    for (const auto& parameter : allParameters)
        list.push_back({{"address", parameter.address},
                        {"identifier", parameter.identifier},
                        {"name", parameter.name},
                        {"option", parameter.option},
                        {"minimum", minimumValue},
                        {"maximum", maximumValue},
                        {"default", parameter.initial},
                        {"unit", unitOf(parameter)},
                        {"kernelOnly", !isHostParameter(parameter.address)}});
    fmt::print("{}\n", list.dump(2));
}

}  // namespace

int runParams(const Arguments& arguments) {
    CLI::App app("Lists the parameters: address, name, range, default, unit.", "kelvane params");
    bool json = false;
    app.add_flag("--json", json, "as JSON");
    if (const auto code = parseOptions(app, arguments)) return *code;
    json ? printJson() : printTable();
    return 0;
}

}  // namespace qov::cli
