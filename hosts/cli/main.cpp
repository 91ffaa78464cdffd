#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/nearestName.h"
#include "hosts/instance/product.h"
#include "hosts/output/OutputPlace.h"
#include "platform/foundation/Console.h"

namespace {

void printHelp() {
    fmt::print("usage: kelvane COMMAND [ARGUMENTS]\n\n");
    for (const auto& command : qov::cli::commands())
        fmt::print("  {:<12} {}\n", command.name, command.summary);
    fmt::print("\nkelvane COMMAND --help describes one of them.\n");
}

std::string unknownCommand(const std::string& name) {
    std::vector<std::string_view> names;
    for (const auto& command : qov::cli::commands()) names.push_back(command.name);
    const auto nearest = qov::cli::nearestName(name, names);
    const auto advice = nearest.empty() ? std::string("kelvane --help lists them")
                                        : fmt::format("did you mean '{}'?", nearest);
    return fmt::format("'{}' is not a command of kelvane; {}", name, advice);
}

}  // namespace

int main(int argc, char** argv) try {
    // The effect's console lines are off by default, as standard output may be a sound.
    platform::console::setSink({});
    qov::hosts::watchSignals();
    const qov::cli::Arguments arguments(argv + std::min(argc, 2), argv + argc);
    const std::string name = argc > 1 ? argv[1] : "--help";
    if (name == "--help" || name == "-h" || name == "help") {
        printHelp();
        return argc > 1 ? 0 : 2;
    }
    if (name == "--version") {
        fmt::print("kelvane {}\n", qov::hosts::product::version);
        return 0;
    }
    const auto commands = qov::cli::commands();
    const auto command = std::ranges::find(commands, name, &qov::cli::Command::name);
    if (command == commands.end()) throw qov::cli::Failure(unknownCommand(name), 2);
    return command->run(arguments);
} catch (const qov::cli::Failure& failure) {
    std::fprintf(stderr, "kelvane: %s\n", failure.what());
    return failure.exitCode();
} catch (const std::exception& error) {
    std::fprintf(stderr, "kelvane: %s\n", error.what());
    return 1;
}
