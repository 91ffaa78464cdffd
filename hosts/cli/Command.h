#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/output/Failure.h"

namespace qov::cli {

using hosts::Failure;

/// Arguments after the subcommand's name.
using Arguments = std::vector<std::string>;

/// kelvane app. It and those below: see Command::run.
int runApp(const Arguments& arguments);
/// kelvane demo.
int runDemo(const Arguments& arguments);
/// kelvane field.
int runField(const Arguments& arguments);
/// kelvane measure.
int runMeasure(const Arguments& arguments);
/// kelvane params.
int runParams(const Arguments& arguments);
/// kelvane presets.
int runPresets(const Arguments& arguments);
/// kelvane render.
int runRender(const Arguments& arguments);
/// kelvane snapshot.
int runSnapshot(const Arguments& arguments);

/// A subcommand of kelvane; run returns the exit code or throws Failure.
struct Command {
    std::string_view name;
    std::string_view summary;
    int (*run)(const Arguments& arguments);
};

/// All subcommands, in the order in which help shows them.
std::span<const Command> commands();

}  // namespace qov::cli
