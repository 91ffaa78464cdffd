#include "hosts/cli/MidiCommand.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <span>
#include <string_view>

#include "hosts/cli/parseOptions.h"
#include "util/MidiVocabulary.h"

namespace qov::cli {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// The first name of the family ("STATUS_", "CONTROLLER_", "META_") with this value.
std::string_view nameOf(std::string_view family, std::uint8_t value) {
    const auto found = std::ranges::find_if(midiVocabulary, [&](const MidiConstant& constant) {
        return constant.value == value && constant.name.starts_with(family);
    });
    return found == midiVocabulary.end() ? std::string_view{} : found->name;
}

std::string hexadecimal(Bytes bytes) {
    constexpr std::size_t kShown = 16;
    auto text = fmt::format("{:02X}", fmt::join(bytes.first(std::min(bytes.size(), kShown)), " "));
    if (bytes.size() > kShown) text += fmt::format(" ... ({} bytes)", bytes.size());
    return text;
}

/// Printable ASCII in quotes; every other byte as \xNN.
std::string quoted(Bytes bytes) {
    std::string text = "\"";
    for (const auto byte : bytes)
        if (byte == '"' || byte == '\\')
            text += {'\\', static_cast<char>(byte)};
        else if (byte >= 0x20 && byte < 0x7F)
            text += static_cast<char>(byte);
        else
            text += fmt::format("\\x{:02X}", byte);
    return text + '"';
}

std::string describeMeta(std::uint8_t type, Bytes data) {
    const auto known = nameOf("META_", type);
    const auto name = known.empty() ? fmt::format("{} {:02X}", nameOf("META_", META_UNKNOWN), type)
                                    : std::string(known);
    if (type >= META_TEXT && type <= META_DEVICENAME) return name + " " + quoted(data);
    if (type == META_SETTEMPO && data.size() == 3) {
        const int microseconds = data[0] << 16 | data[1] << 8 | data[2];
        return fmt::format("{} {} us a quarter ({:.6g} a minute)", name, microseconds,
                           60e6 / microseconds);
    }
    if (type == META_TIMESIGNATURE && data.size() == 4)
        return fmt::format(
            "{} {}/{}", name, data[0],
            data[1] < 16 ? std::to_string(1 << data[1]) : fmt::format("2^{}", data[1]));
    return data.empty() ? name : name + " " + hexadecimal(data);
}

}  // namespace

std::string describe(const MidiFileEvent& event) {
    const Bytes bytes = event.bytes;
    const auto status = bytes[0];
    if (status == 0xFF && bytes.size() >= 2) return describeMeta(bytes[1], bytes.subspan(2));
    if (status >= STATUS_SYSEX)
        return fmt::format("{} {}", nameOf("STATUS_", status), hexadecimal(bytes.subspan(1)));
    const std::uint8_t kind = status & 0xF0;
    auto text = fmt::format("{} channel {}", nameOf("STATUS_", kind), (status & 0x0F) + 1);
    if (kind == STATUS_CONTROLLER && bytes.size() == 3) {
        const auto controller = nameOf("CONTROLLER_", bytes[1]);
        return controller.empty() ? fmt::format("{} controller {} {}", text, bytes[1], bytes[2])
                                  : fmt::format("{} {} {}", text, controller, bytes[2]);
    }
    if (kind == STATUS_PITCHBEND && bytes.size() == 3)
        return fmt::format("{} {:+}", text, (bytes[2] << 7 | bytes[1]) - 8192);
    return fmt::format("{} {}", text, fmt::join(bytes.subspan(1), " "));
}

int runMidi(const Arguments& arguments) {
    CLI::App app("Lists the events of a standard MIDI file with their times in seconds.",
                 "kelvane midi");
    std::string path;
    app.add_option("FILE", path, "standard MIDI file of format 0 or 1")->required();
    if (const auto code = parseOptions(app, arguments)) return *code;

    const auto file = readMidiFile(path);
    fmt::print("{}: format {}, {} {}, {} pulses a quarter\n", path, file.format, file.tracks,
               file.tracks == 1 ? "track" : "tracks", file.pulsesPerQuarter);
    const auto microseconds = eventFrames(file, 1'000'000);
    fmt::print("{:>5} {:>9} {:>12}  {}\n", "TRACK", "PULSE", "SECONDS", "EVENT");
    for (std::size_t i = 0; i < file.events.size(); ++i)
        fmt::print(
            "{:>5} {:>9} {:>12}  {}\n", file.events[i].track, file.events[i].pulse,
            fmt::format("{}.{:06}", microseconds[i] / 1'000'000, microseconds[i] % 1'000'000),
            describe(file.events[i]));
    return 0;
}

}  // namespace qov::cli
