// For any text: events that are in order and in range, as they are read again the same from lines
// written for them; or one line that names the place of the error.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "audiounit/parameters.h"
#include "fuzz/require.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"

namespace {

using namespace qov::cli;
using platform::AURenderEvent;

std::string written(const AURenderEvent& event) {
    const auto& parameter = event.parameter;
    const auto& midi = event.MIDI;
    const auto frame = event.head.eventSampleTime;
    if (event.head.eventType == platform::AURenderEventParameter)
        return fmt::format("{} set {} {}\n", frame,
                           qov::parameterAt(parameter.parameterAddress)->option, parameter.value);
    std::string line = fmt::format("{} midi", frame);
    for (int i = 0; i < midi.length; ++i) line += fmt::format(" {:02X}", midi.data[i]);
    return line + "\n";
}

std::string writtenAll(std::string_view text) {
    std::string lines;
    for (const auto& event : parseAutomation(text, "moves", 48000)) lines += written(event);
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string lines;
    try {
        lines = writtenAll({reinterpret_cast<const char*>(data), size});
    } catch (const Failure& failure) {
        const std::string_view line = failure.what();
        require(line.starts_with("moves:") && line.find('\n') == std::string_view::npos,
                "the error is not one line that names its place");
        return 0;
    }
    require(writtenAll(lines) == lines, "what was written is read differently");
    return 0;
}
