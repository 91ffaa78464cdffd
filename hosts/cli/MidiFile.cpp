#include "hosts/cli/MidiFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <span>
#include <string_view>

#include "dsp/ParameterSetting.h"
#include "hosts/cli/Command.h"
#include "util/MidiVocabulary.h"

namespace qov::cli {
namespace {

constexpr std::uint8_t metaEvent = 0xFF;  // how a file marks a meta event
constexpr std::size_t largestFile = 16 << 20;

/// Reads a file's bytes from front to back and checks every length against what is there.
class Reader {
 public:
    Reader(std::span<const std::uint8_t> bytes, const std::string& name)
        : bytes_(bytes), name_(name) {}

    MidiFile run() {
        header();
        for (std::uint32_t i = 1; i <= tracks_; ++i) track(i);
        std::ranges::stable_sort(file_.events, {}, &MidiFileEvent::pulse);
        return std::move(file_);
    }

 private:
    [[noreturn]] void fail(std::size_t offset, const std::string& reason) const {
        throw Failure(fmt::format("{}: byte {}: {}", name_, offset, reason));
    }

    void need(std::size_t count, std::size_t end, std::string_view of) const {
        if (count > end - at_) fail(at_, fmt::format("{} is cut off", of));
    }

    std::uint8_t peek() const { return bytes_[at_]; }

    std::uint32_t number(int size) {
        std::uint32_t value = 0;
        for (; size > 0; --size) {
            value = value << 8 | peek();
            ++at_;
        }
        return value;
    }

    /// Reads the chunk's header and returns its length.
    std::uint32_t chunk(std::string_view tag, std::string_view of) {
        need(8, bytes_.size(), of);
        for (const char letter : tag) {
            if (peek() != static_cast<std::uint8_t>(letter))
                fail(at_, fmt::format("expected \"{}\", the start of {}", tag, of));
            ++at_;
        }
        return number(4);
    }

    void header() {
        if (bytes_.size() < 4 || bytes_[0] != 'M')
            fail(0, "not a standard MIDI file, which starts with \"MThd\"");
        if (chunk("MThd", "the header") != 6) fail(4, "the header's length is not 6");
        need(6, bytes_.size(), "the header");
        const auto format = number(2);
        tracks_ = number(2);
        const auto division = number(2);
        if (format > 1) fail(8, fmt::format("format {} is not supported; 0 and 1 are", format));
        if (tracks_ == 0) fail(10, "there are no tracks");
        if (format == 0 && tracks_ != 1)
            fail(10, fmt::format("a file of format 0 has one track, not {}", tracks_));
        if (division & 0x8000) fail(12, "time code (SMPTE) is not supported; pulses a quarter are");
        if (division == 0) fail(12, "0 pulses a quarter note");
        file_.pulsesPerQuarter = static_cast<int>(division);
    }

    void track(std::uint32_t index) {
        const auto title = fmt::format("track {} of {}", index, tracks_);
        const std::size_t length = chunk("MTrk", title);
        need(length, bytes_.size(), title);
        const std::size_t end = at_ + length;
        std::int64_t pulse = 0;
        std::uint8_t running = 0;
        for (bool ended = false; !ended;) {
            const std::size_t start = at_;
            if (start == end) fail(start, title + " has no end-of-track event");
            pulse += variableLength(end, title);
            if (pulse > std::numeric_limits<int>::max())
                fail(start, title + " is too long: more than 2147483647 pulses");
            auto& event = file_.events.emplace_back();
            event.pulse = pulse;
            ended = read(event.bytes, running, end, title);
        }
        if (at_ != end) fail(at_, title + " goes on behind its end-of-track event");
    }

    std::uint32_t variableLength(std::size_t end, std::string_view title) {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            need(1, end, title);
            const auto byte = peek();
            ++at_;
            value = value << 7 | (byte & 0x7F);
            if (!(byte & 0x80)) return value;
        }
        fail(at_ - 4, "a number has more than four bytes");
    }

    /// Reads an event after its time. True at the end of the track.
    bool read(std::vector<std::uint8_t>& event, std::uint8_t& running, std::size_t end,
              std::string_view title) {
        need(1, end, title);
        const std::size_t start = at_;
        auto status = peek();
        if (status & 0x80)
            ++at_;
        else if (running)
            status = running;
        else
            fail(at_, "a data byte where a status byte belongs");
        event = {status};
        if (status >= STATUS_SYSEX) running = 0;
        if (status == metaEvent) return readMeta(event, end, title);
        if (status == STATUS_SYSEX || status == STATUS_EOX) {
            if (data(event, end, title) == 0)
                fail(at_, fmt::format("an empty {:02X} event", status));
            return false;
        }
        if (status > STATUS_SYSEX)
            fail(start, fmt::format("{:02X} is not an event of a file", status));
        running = status;
        const int kind = status & 0xF0;
        const int count = kind == STATUS_PROGRAM || kind == STATUS_CPRESSURE ? 1 : 2;
        need(static_cast<std::size_t>(count), end, title);
        for (int i = 0; i < count; ++i, ++at_) {
            if (peek() & 0x80) fail(at_, "a status byte where a data byte belongs");
            event.push_back(peek());
        }
        return false;
    }

    bool readMeta(std::vector<std::uint8_t>& event, std::size_t end, std::string_view title) {
        need(1, end, title);
        const std::size_t start = at_;
        const auto type = peek();
        if (type & 0x80) fail(start, fmt::format("{:02X} is not a type of meta event", type));
        event.push_back(type);
        ++at_;
        const auto length = data(event, end, title);
        const auto expect = [&](std::uint32_t right, std::string_view what) {
            if (length != right)
                fail(start, fmt::format("{} has {} bytes of data, not {}", what, length, right));
        };
        if (type == META_SETTEMPO) {
            expect(3, "a tempo event");
            if ((event[2] | event[3] | event[4]) == 0)
                fail(start, "a tempo of 0 microseconds a quarter note");
        }
        if (type == META_TIMESIGNATURE) expect(4, "a time signature");
        if (type == META_EOT) expect(0, "an end-of-track event");
        return type == META_EOT;
    }

    /// Reads a length and so many bytes, and appends them to the event.
    std::uint32_t data(std::vector<std::uint8_t>& event, std::size_t end, std::string_view title) {
        const auto length = variableLength(end, title);
        need(length, end, title);
        const auto bytes = bytes_.subspan(at_, length);
        event.insert(event.end(), bytes.begin(), bytes.end());
        at_ += length;
        return length;
    }

    std::span<const std::uint8_t> bytes_;
    const std::string& name_;
    std::size_t at_ = 0;
    std::uint32_t tracks_ = 0;
    MidiFile file_;
};

/// Microseconds of a quarter note, of a tempo event; 0 for every other event.
std::uint32_t microsecondsPerQuarter(const MidiFileEvent& event) {
    const auto& bytes = event.bytes;
    if (bytes.size() < 5 || bytes[0] != metaEvent || bytes[1] != META_SETTEMPO) return 0;
    return std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 8 | bytes[4];
}

}  // namespace

MidiFile parseMidiFile(std::span<const std::uint8_t> bytes, const std::string& name) {
    if (bytes.size() > largestFile)
        throw Failure(fmt::format("{}: larger than {} MB", name, largestFile >> 20));
    return Reader(bytes, name).run();
}

MidiFile readMidiFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::vector<std::uint8_t> bytes;
    // One byte more than is taken, so that a device without an end is refused.
    if (stream) {
        bytes.resize(largestFile + 1);
        stream.read(reinterpret_cast<char*>(bytes.data()),
                    static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(stream.gcount()));
    }
    if (stream.bad() || (!stream && !stream.eof())) throw Failure(path + ": cannot be read");
    return parseMidiFile(bytes, path);
}

std::vector<std::int64_t> eventFrames(const MidiFile& file, std::int64_t sampleRate) {
    // Time is kept as a whole number of microseconds times pulses a quarter, which does not round:
    // at most 2^31 pulses of less than 2^24 microseconds.
    const std::int64_t unitsPerSecond = std::int64_t{1'000'000} * file.pulsesPerQuarter;
    std::int64_t microseconds = 500'000, pulse = 0, time = 0;
    std::vector<std::int64_t> frames;
    frames.reserve(file.events.size());
    for (const auto& event : file.events) {
        time += (event.pulse - pulse) * microseconds;
        pulse = event.pulse;
        const std::int64_t seconds = time / unitsPerSecond, rest = time % unitsPerSecond;
        frames.push_back(seconds * sampleRate +
                         (rest * sampleRate + unitsPerSecond / 2) / unitsPerSecond);
        if (const auto tempo = microsecondsPerQuarter(event)) microseconds = tempo;
    }
    return frames;
}

std::vector<platform::AURenderEvent> midiAutomation(const MidiFile& file, std::int64_t sampleRate) {
    const auto frames = eventFrames(file, sampleRate);
    std::vector<platform::AURenderEvent> automation;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const auto& bytes = file.events[i].bytes;
        if (!settingOfMessage(bytes)) continue;
        auto& event = automation.emplace_back(platform::AURenderEvent{});
        event.MIDI = {nullptr, frames[i], platform::AURenderEventMIDI,   0,
                      3,       0,         {bytes[0], bytes[1], bytes[2]}};
    }
    return automation;
}

}  // namespace qov::cli
