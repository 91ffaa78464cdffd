#pragma once

#include <travesty/bstream.h>

#include <optional>
#include <string>
#include <string_view>

namespace qov::hosts::vst3 {

/// What is left in a host's stream, however it deals it out; nothing when that is more than any
/// state of ours.
std::optional<std::string> readAll(v3_bstream** stream);

/// Writes all of them. False when the stream does not take it all.
bool writeAll(v3_bstream** stream, std::string_view bytes);

}  // namespace qov::hosts::vst3
