// Whatever the text is: events in order and in range, which written out again read the same, or one
// line that says where it is wrong.

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

std::string written(const AutomationEvent& event) {
    if (event.kind == AutomationEvent::Kind::parameter)
        return fmt::format("{} set {} {}\n", event.frame, qov::parameterAt(event.address)->option,
                           event.value);
    std::string line = fmt::format("{} midi", event.frame);
    for (int i = 0; i < event.length; ++i)
        line += fmt::format(" {:02X}", event.message[static_cast<std::size_t>(i)]);
    return line + "\n";
}

void check(const AutomationEvent& event) {
    require(event.frame >= 0, "a frame is before the start");
    if (event.kind == AutomationEvent::Kind::parameter)
        return require(event.value >= minimumValue && event.value <= maximumValue,
                       "a value is out of range");
    require(event.length >= 1 && event.length <= event.message.size(),
            "a message has no such length");
    require(event.message[0] >= 0x80 && event.message[1] < 0x80 && event.message[2] < 0x80,
            "a message is none");
}

std::string writtenAll(std::string_view text) {
    std::string lines;
    std::int64_t latest = 0;
    for (const auto& event : parseAutomation(text, "moves", 48000)) {
        check(event);
        require(event.frame >= latest, "the events are out of order");
        latest = event.frame;
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
                "it does not say where in one line");
        return 0;
    }
    require(writtenAll(lines) == lines, "what was written reads otherwise");
    return 0;
}
