#include "hosts/cli/Automation.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/parseWhole.h"

namespace qov::cli {

using platform::AURenderEvent;

namespace {

constexpr double latestFrame = 9007199254740992.0;  // 2^53: up to here a double counts every frame

std::vector<std::string_view> wordsOf(std::string_view line) {
    constexpr std::string_view space = " \t\r\v\f";
    line = line.substr(0, line.find('#'));
    std::vector<std::string_view> words;
    for (auto begin = line.find_first_not_of(space); begin != std::string_view::npos;) {
        const auto end = std::min(line.find_first_of(space, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(space, end);
    }
    return words;
}

template <typename Number>
bool parseUnsigned(std::string_view text, Number& number) {
    return !text.starts_with('-') && parseWhole(text, number);
}

}  // namespace

std::int64_t parseTime(std::string_view text, double sampleRate) {
    const auto wrong = [text] {
        return Failure(
            fmt::format("'{}' is not a time; write frames (4410), seconds (0.1s) or "
                        "minutes and seconds (1:02.5)",
                        text));
    };
    std::int64_t minutes = 0;
    double seconds = 0;
    if (const auto colon = text.find(':'); colon != std::string_view::npos) {
        if (!parseUnsigned(text.substr(0, colon), minutes)) throw wrong();
        if (!parseUnsigned(text.substr(colon + 1), seconds) || !(seconds < 60)) throw wrong();
    } else if (text.ends_with('s')) {
        if (!parseUnsigned(text.substr(0, text.size() - 1), seconds) || !std::isfinite(seconds))
            throw wrong();
    } else {
        std::int64_t frames = 0;
        if (!parseUnsigned(text, frames)) throw wrong();
        return frames;
    }
    const double frame = std::round((static_cast<double>(minutes) * 60 + seconds) * sampleRate);
    if (frame > latestFrame) throw Failure(fmt::format("'{}' is later than any file ends", text));
    return static_cast<std::int64_t>(frame);
}

namespace {

void parseSet(std::span<const std::string_view> words, double sampleRate, AURenderEvent& event) {
    if (words.size() < 2)
        throw Failure("set takes a parameter and a value, as in: set panorama 0.4");
    const Parameter* const parameter = findParameter(words[0]);
    if (!parameter)
        throw Failure(
            fmt::format("unknown parameter '{}'; {}", words[0], suggestParameter(words[0])));
    event.head.eventType = platform::AURenderEventParameter;
    event.parameter.parameterAddress = parameter->address;
    // A value may have spaces in it: L 30 %.
    const std::string_view value(words[1].data(), words.back().data() + words.back().size());
    event.parameter.value = parseValue(*parameter, value, sampleRate);
}

void parseMidi(std::span<const std::string_view> words, AURenderEvent& event) {
    if (words.empty() || words.size() > std::size(event.MIDI.data))
        throw Failure("midi takes one to three bytes in hex, as in: midi B0 0B 40");
    event.head.eventType = platform::AURenderEventMIDI;
    event.MIDI.length = static_cast<std::uint16_t>(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto word = words[i];
        std::uint8_t byte = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), byte, 16);
        if (error != std::errc{} || end != word.data() + word.size())
            throw Failure(fmt::format("'{}' is not a byte in hex (00 to FF)", word));
        if ((byte >= 0x80) != (i == 0))
            throw Failure(fmt::format("'{}' is not a MIDI {}", word,
                                      i == 0 ? "status byte (80 to FF)" : "data byte (00 to 7F)"));
        event.MIDI.data[i] = byte;
    }
    const auto status = event.MIDI.data[0];
    const std::size_t dataBytes = (status & 0xE0) == 0xC0 ? 1 : 2;
    if (status < 0xF0 && words.size() != 1 + dataBytes)
        throw Failure(fmt::format("midi {} takes {} data {} behind it, as in: midi {}", words[0],
                                  dataBytes, dataBytes == 1 ? "byte" : "bytes",
                                  dataBytes == 1 ? "C0 05" : "B0 0B 40"));
}

AURenderEvent parseLine(std::span<const std::string_view> words, double sampleRate) {
    AURenderEvent event{};
    event.head.eventSampleTime = parseTime(words[0], sampleRate);
    if (words.size() > 1 && words[1] == "set")
        parseSet(words.subspan(2), sampleRate, event);
    else if (words.size() > 1 && words[1] == "midi")
        parseMidi(words.subspan(2), event);
    else
        throw Failure(fmt::format("{} behind the time; write set or midi",
                                  words.size() > 1 ? fmt::format("'{}'", words[1]) : "nothing"));
    return event;
}

}  // namespace

std::vector<AURenderEvent> parseAutomation(std::string_view text, const std::string& name,
                                           double sampleRate) {
    std::vector<AURenderEvent> events;
    for (int number = 1; !text.empty(); ++number) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto words = wordsOf(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (words.empty()) continue;
        try {
            events.push_back(parseLine(words, sampleRate));
        } catch (const Failure& failure) {
            throw Failure(fmt::format("{}:{}: {}", name, number, failure.what()));
        }
    }
    std::ranges::stable_sort(events, {}, [](const auto& e) { return e.head.eventSampleTime; });
    return events;
}

std::vector<AURenderEvent> readAutomation(const std::string& path, double sampleRate) {
    std::ifstream file(path, std::ios::binary);
    file.peek();  // a folder can be opened, but not read
    std::ostringstream text;
    if (!file.is_open() || file.bad() || !(text << file.rdbuf() || file.eof()))
        throw Failure(
            fmt::format("{}: cannot read the automation: {}", path, std::strerror(errno)));
    return parseAutomation(text.str(), path, sampleRate);
}

}  // namespace qov::cli
