#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"

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

/// No text of the table needs an escape.
void printJson() {
    const char* separator = "[";
    for (const auto& parameter : allParameters) {
        fmt::print(R"({}
  {{
    "address": {},
    "identifier": "{}",
    "name": "{}",
    "option": "{}",
    "minimum": {:.1f},
    "maximum": {:.1f},
    "default": {:.1f},
    "unit": "{}",
    "kernelOnly": {}
  }})",
                   separator, parameter.address, parameter.identifier, parameter.name,
                   parameter.option, minimumValue, maximumValue, parameter.initial,
                   unitOf(parameter), !isHostParameter(parameter.address));
        separator = ",";
    }
    fmt::print("\n]\n");
}

}  // namespace

int runParams(const Arguments& arguments) {
    OptionParser parser("kelvane params",
                        "Lists the parameters: address, name, range, default, unit.");
    bool json = false;
    parser.addSwitch("--json", json, "as JSON");
    if (const auto code = parser.parse(arguments)) return *code;
    json ? printJson() : printTable();
    return 0;
}

}  // namespace qov::cli
