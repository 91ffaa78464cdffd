#pragma once

#include <string>
#include <vector>

namespace qov::cli {

/// Throws Failure for what drawFieldOf() refuses before it reads: another ending, a pipe or an
/// input as the output (2), a folder that does not exist (1).
void checkField(const std::vector<std::string>& inputs, const std::string& output);

/// Draws the stereo field of one or two sound files, side by side and to one scale, into a PNG or
/// SVG file. Throws Failure where a file cannot be read or the picture not be written.
void drawFieldOf(const std::vector<std::string>& inputs, const std::string& output);

}  // namespace qov::cli
