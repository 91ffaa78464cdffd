// Whatever the text is: events in order and in range, which written out again read the same, or one
// line that names the place of the error.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "audiounit/parameters.h"
#include "fuzz/require.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/Parameters.h"

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

void check(const AURenderEvent& event) {
    require(event.head.eventSampleTime >= 0, "a frame is before the start");
    if (event.head.eventType == platform::AURenderEventParameter)
        return require(
            event.parameter.value >= minimumValue && event.parameter.value <= maximumValue,
            "a value is out of range");
    const auto& midi = event.MIDI;
    require(midi.length >= 1 && midi.length <= 3, "a message has a wrong length");
    require(midi.data[0] >= 0x80 && midi.data[1] < 0x80 && midi.data[2] < 0x80,
            "a message has a wrong byte");
}

std::string writtenAll(std::string_view text) {
    std::string lines;
    std::int64_t latest = 0;
    for (const auto& event : parseAutomation(text, "moves", 48000)) {
        check(event);
        require(event.head.eventSampleTime >= latest, "the events are out of order");
        latest = event.head.eventSampleTime;
        lines += written(event);
    }
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
