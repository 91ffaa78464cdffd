#include <string>
#include <vector>

#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/drawFieldOf.h"

namespace qov::cli {
namespace {

constexpr auto fieldHelp = R"(
The round plot shows where the two channels are together: mid is up and down, side is left and right, so
that a mono sound draws an upright line and a sound on one side a slanted one. Below it, over time: width
(the side's share), correlation (below 0 the channels cancel each other in mono) and balance. Two files
are drawn to one scale, as before and after.)";

}  // namespace

int runField(const Arguments& arguments) {
    OptionParser parser("kelvane field", "Draws the stereo field of one or two sound files.",
                        fieldHelp);
    std::string output;
    std::vector<std::string> inputs;
    parser.addArgument("OUT", output, "picture to write, .png or .svg");
    parser.addArguments("FILE", inputs, "one or two sound files", 1, 2);
    if (const auto code = parser.parse(arguments)) return *code;
    drawFieldOf(inputs, output);
    return 0;
}

}  // namespace qov::cli
