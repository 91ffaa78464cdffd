#include "hosts/cli/FieldCommand.h"

#include <string>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "hosts/cli/drawFieldOf.h"
#include "hosts/cli/parseOptions.h"

namespace qov::cli {
namespace {

constexpr auto help = R"(
The round plot shows where the two channels are together: mid is up and down, side is left and right, so
that a mono sound draws an upright line and a sound on one side a slanted one. Below it, over time: width
(the side's share), correlation (below 0 the channels cancel each other in mono) and balance. Two files
are drawn to one scale, as before and after.)";

}  // namespace

int runField(const Arguments& arguments) {
    CLI::App app("Draws the stereo field of one or two sound files.", "kelvane field");
    std::string output;
    std::vector<std::string> inputs;
    app.add_option("OUT", output, "picture to write, .png or .svg")->required();
    app.add_option("FILE", inputs, "one or two sound files")->required()->expected(1, 2);
    app.footer(help);
    if (const auto code = parseOptions(app, arguments)) return *code;
    drawFieldOf(inputs, output);
    return 0;
}

}  // namespace qov::cli
