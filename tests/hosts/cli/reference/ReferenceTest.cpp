// Random sound with random events through the program, to the bit what the reference makes of it.
// KELVANE_SOAK_MINUTES: minutes of sound; a tenth of one unless it is set.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/reference/Reference.h"

namespace {

using Samples = std::vector<float>;

struct Event {
    std::size_t frame;
    std::size_t address;  // of a parameter, or `nothing`
    float value;
    std::string text;  // as the automation has it, behind its time
    static constexpr std::size_t nothing = 99;
};

/// What one stretch of sound is rendered with, all from one seed.
class Stretch {
 public:
    Stretch(std::uint32_t seed, double seconds) : random_(seed) {
        constexpr int rates[] = {44100, 48000, 96000, 192000, 22050, 8000};
        rate = rates[below(6)];
        constexpr int blocks[] = {512, 1024, 64, 1};
        block = coin() ? blocks[below(4)] : 1 + below(1024);
        frames = static_cast<std::size_t>(seconds * rate);
        makeSound();
        makeEvents();
    }

    int rate, block;
    std::size_t frames;
    Samples left, right;
    std::vector<Event> events;  // sorted by frame

 private:
    std::uint32_t below(std::uint32_t limit) { return random_() % limit; }
    bool coin() { return below(2) != 0; }
    float unit() { return static_cast<float>(random_() >> 8) / 0xFFFFFF; }

    float sample(std::uint32_t kind) {
        const auto bits = static_cast<std::uint32_t>(random_());
        switch (kind) {
            case 0:
                return std::bit_cast<float>(bits);  // infinities and NaN, too
            case 1:
                return std::bit_cast<float>(bits & 0x80FFFFFF);  // nothing above 2e-38
            case 2:
                return 0;
            default:
                return static_cast<float>(static_cast<std::int32_t>(bits)) / 2147483648.0F;
        }
    }

    void makeSound() {
        left.reserve(frames);
        right.reserve(frames);
        while (left.size() < frames) {
            const auto kind = below(10);
            for (auto n = 1 + below(20000); n > 0 && left.size() < frames; --n) {
                left.push_back(sample(kind));
                right.push_back(sample(kind));
            }
        }
    }

    void makeEvents() {
        const std::uint32_t longestGap = 1 + below(coin() ? 300 : 30000);
        for (std::size_t frame = 0; frame < frames; frame += below(longestGap))
            events.push_back(eventAt(frame));
    }

    Event eventAt(std::size_t frame) {
        static constexpr const char* names[] = {"stereo-width",  "panorama",       "phase-shift",
                                                "swap-channels", "invert-channel", "recover-mono",
                                                "test-mono",     "bypass",         "",
                                                "volume"};
        const std::size_t address = below(12);
        if (address == 8 || address > 9) return messageAt(frame);
        float value = unit();
        if (address >= 3 && address <= 7) {
            // Bypass is off more often than on, as nothing is computed while it is on.
            value = below(address == 7 ? 4 : 2) == 0 ? 1 : 0;
        } else if (coin()) {
            constexpr float places[] = {0, 0.5F, 1, 0.25F, 1e-6F, 1e-39F};
            value = places[below(6)];
        }
        char text[64];
        std::snprintf(text, sizeof text, "set %s %.9g", names[address], double{value});
        return {frame, address, value, text};
    }

    Event messageAt(std::size_t frame) {
        constexpr struct {
            unsigned number;
            std::size_t address;
        } controllers[] = {{7, 9}, {10, 1}, {11, 0}, {1, Event::nothing}};
        const auto& controller = controllers[below(4)];
        const unsigned status = (below(8) ? 0xB0 : 0x90) + below(16), value = below(128);
        char text[64];
        std::snprintf(text, sizeof text, "midi %02X %02X %02X", status, controller.number, value);
        const bool isControl = (status & 0xF0) == 0xB0;
        return {frame, isControl ? controller.address : Event::nothing,
                static_cast<float>(value) / 127.0F, text};
    }

    std::mt19937 random_;
};

std::string interleaved(const Samples& left, const Samples& right) {
    Samples both;
    both.reserve(2 * left.size());
    for (std::size_t i = 0; i < left.size(); ++i) both.insert(both.end(), {left[i], right[i]});
    return {reinterpret_cast<const char*>(both.data()), sizeof(float) * both.size()};
}

/// Cut into blocks from the start, and those at each event.
void render(Stretch& s) {
    Reference reference(static_cast<float>(s.rate));
    std::size_t next = 0;
    for (std::size_t frame = 0; frame < s.frames;) {
        for (; next < s.events.size() && s.events[next].frame <= frame; ++next)
            if (s.events[next].address != Event::nothing)
                reference.set(s.events[next].address, s.events[next].value);
        const auto block = static_cast<std::size_t>(s.block);
        std::size_t end = std::min(s.frames, (frame / block + 1) * block);
        // An event that sets nothing cuts, too.
        if (next < s.events.size()) end = std::min(end, s.events[next].frame);
        reference.process(&s.left[frame], &s.right[frame], end - frame);
        frame = end;
    }
}

/// Any NaN is as good as any other.
bool isSame(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

void expectSame(const Stretch& s, const std::string& bytes) {
    ASSERT_EQ(bytes.size(), 8 * s.frames);
    for (std::size_t i = 0; i < s.frames; ++i) {
        float out[2];
        std::memcpy(out, bytes.data() + 8 * i, sizeof out);
        ASSERT_TRUE(isSame(out[0], s.left[i]) && isSame(out[1], s.right[i]))
            << "frame " << i << ": " << out[0] << " " << out[1] << ", not " << s.left[i] << " "
            << s.right[i];
    }
}

TEST(Reference, HasTheBitsOfRandomSoundUnderRandomAutomation) {
    const char* const minutes = std::getenv("KELVANE_SOAK_MINUTES");
    const double seconds = 60 * (minutes ? std::atof(minutes) : 0.1);
    const double longest = minutes ? 20 : 0.5;
    std::uint64_t events = 0;
    std::uint32_t seed = 1;
    for (double done = 0; done < seconds; done += longest, ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const TemporaryFolder folder;
        Stretch stretch(seed, std::min(longest, seconds - done));
        write(folder / "in", interleaved(stretch.left, stretch.right));
        std::ostringstream automation;
        for (const auto& event : stretch.events)
            automation << event.frame << " " << event.text << "\n";
        write(folder / "moves", automation.str());
        std::ostringstream command;
        command << "$K render - - --raw " << stretch.rate << " --block " << stretch.block
                << " --raw-timing --automation " << (folder / "moves") << " <" << (folder / "in");
        const auto run = shell(command.str());
        ASSERT_EQ(run.code, 0) << run.err;
        render(stretch);
        expectSame(stretch, run.out);
        if (HasFatalFailure()) return;
        events += stretch.events.size();
    }
    std::cout << seconds / 60 << " minutes of sound, " << seed - 1 << " stretches, " << events
              << " events\n";
}

}  // namespace
