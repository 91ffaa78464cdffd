// Random sound with random events through the program gives, to the bit, what the reference gives.
// KELVANE_SOAK_MINUTES: minutes of sound; a tenth of one unless it is set.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "audiounit/parameters.h"
#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/reference/Reference.h"

namespace {

constexpr std::size_t nothing = 99;  // the address of an event that sets no parameter

struct Event {
    std::size_t frame, address;
    float value;
};

/// What one stretch of sound is rendered with, all from one seed.
struct Stretch {
    explicit Stretch(std::uint32_t seed, double seconds) : random(seed) {
        rate = pick({44100, 48000, 96000, 192000, 22050, 8000});
        block = below(2) ? pick({512U, 1024U, 64U, 1U}) : 1 + below(1024);
        const auto size = 2 * static_cast<std::size_t>(seconds * rate);
        while (samples.size() < size) {
            const auto kind = below(10);
            for (auto n = 1 + below(40000); n > 0 && samples.size() < size; --n)
                samples.push_back(sample(kind));
        }
        const auto longestGap = 1 + below(below(2) ? 300 : 30000);
        for (std::size_t frame = 0; frame < size / 2; frame += below(longestGap))
            below(6) ? addSetting(frame) : addMessage(frame);
    }

    std::uint32_t below(std::uint32_t limit) { return random() % limit; }
    template <typename Value>
    Value pick(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<std::uint32_t>(values.size()))];
    }

    float sample(std::uint32_t kind) {
        const auto bits = static_cast<std::uint32_t>(random());
        if (kind == 0) return std::bit_cast<float>(bits);               // infinities and NaN, too
        if (kind == 1) return std::bit_cast<float>(bits & 0x80FFFFFF);  // nothing above 2e-38
        return kind == 2 ? 0 : static_cast<float>(static_cast<std::int32_t>(bits)) / 2147483648.0F;
    }

    void addSetting(std::size_t frame) {
        const auto& parameter = qov::allParameters[below(qov::allParameters.size())];
        float value = static_cast<float>(random() >> 8) / 0xFFFFFF;
        // Bypass is off more often than on, as nothing is computed while it is on.
        if (parameter.isSwitch())
            value = below(parameter.option == "bypass" ? 4 : 2) == 0;
        else if (below(2))
            value = pick({0.0F, 0.5F, 1.0F, 0.25F, 1e-6F, 1e-39F});
        events.push_back({frame, parameter.address, value});
        automation += fmt::format("{} set {} {:.9g}\n", frame, parameter.option, value);
    }

    void addMessage(std::size_t frame) {
        const auto [controller, address] =
            pick<std::pair<int, std::size_t>>({{7, 9}, {10, 1}, {11, 0}, {1, nothing}});
        const auto status = (below(8) ? 0xB0 : 0x90) + below(16), value = below(128);
        events.push_back(
            {frame, status >= 0xB0 ? address : nothing, static_cast<float>(value) / 127.0F});
        automation +=
            fmt::format("{} midi {:02X} {:02X} {:02X}\n", frame, status, controller, value);
    }

    std::mt19937 random;
    int rate;
    std::size_t block;
    std::vector<float> samples;  // interleaved
    std::vector<Event> events;   // sorted by frame
    std::string automation;
};

/// Cut into blocks from the start, and those at each event, also at one that sets nothing.
void render(Stretch& s) {
    Reference reference(static_cast<float>(s.rate));
    const std::size_t frames = s.samples.size() / 2;
    auto event = s.events.begin();
    for (std::size_t frame = 0, end; frame < frames; frame = end) {
        for (; event != s.events.end() && event->frame <= frame; ++event)
            if (event->address != nothing) reference.set(event->address, event->value);
        end = std::min(frames, (frame / s.block + 1) * s.block);
        if (event != s.events.end()) end = std::min(end, event->frame);
        reference.process(&s.samples[2 * frame], end - frame);
    }
}

TEST(Reference, HasTheBitsOfRandomSoundUnderRandomAutomation) {
    const char* const minutes = std::getenv("KELVANE_SOAK_MINUTES");
    const double seconds = 60 * (minutes ? std::atof(minutes) : 0.1);
    const double longest = minutes ? 20 : 0.5;
    std::uint32_t seed = 1;
    for (double done = 0; done < seconds; done += longest, ++seed) {
        const TemporaryFolder folder;
        Stretch stretch(seed, std::min(longest, seconds - done));
        auto& samples = stretch.samples;
        const std::size_t size = 4 * samples.size();
        write(folder / "in", {reinterpret_cast<const char*>(samples.data()), size});
        write(folder / "moves", stretch.automation);
        const auto run = shell(fmt::format(
            "cd {} && $K render - - --raw {} --block {} --raw-timing --automation moves <in",
            folder.path(), stretch.rate, stretch.block));
        ASSERT_EQ(run.out.size(), size) << run.err;
        std::vector<float> out(samples.size());
        std::copy_n(run.out.data(), size, reinterpret_cast<char*>(out.data()));
        render(stretch);
        // Any NaN is as good as any other.
        const auto bits = [](float sample) {
            return std::bit_cast<std::uint32_t>(std::isnan(sample) ? NAN : sample);
        };
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(bits(out[i]), bits(samples[i])) << "seed " << seed << ", frame " << i / 2
                                                      << ": " << out[i] << ", not " << samples[i];
    }
    std::cout << seconds / 60 << " minutes of sound, " << seed - 1 << " stretches\n";
}

}  // namespace
