// What an editor costs: from a host's call to open one to its first picture, twenty that draw at
// once, and how often the standalone wakes up while nothing sounds. On a virtual screen.

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/inAChild.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace qov;
using namespace std::chrono_literals;
using test::Screen;

constexpr std::uint32_t block = 960;  // frames: 20 ms at 48 kHz, a host's usual timer
constexpr double rate = 48000;

std::unique_ptr<test::Plugin> activePlugin(const test::Format& format) {
    auto plugin = format.create();
    if (!plugin->activate(rate, block)) throw std::runtime_error("the plug-in does not activate");
    return plugin;
}

/// Several colours where the panel has a switch.
bool isDrawn() {
    std::set<std::uint32_t> colours;
    for (int x = 30; x < 100 && colours.size() < 3; x += 3) colours.insert(Screen::pixel(x, 91));
    return colours.size() > 2;
}

/// From the host's call to the picture on the screen, with a host that is always ready to turn its
/// loop. times - 1 editors were open in the process before.
void open(benchmark::State& state, const test::Format& format, int times) {
    for ([[maybe_unused]] auto pass : state)
        state.SetIterationTime(bench::inAChild([&] {
            const Screen screen;
            const auto plugin = activePlugin(format);
            double seconds = 0;
            for (int i = 0; i < times; ++i) {
                const auto parent = Screen::makeWindow(680, 440);
                seconds = bench::secondsOf([&] {
                    if (!plugin->openEditor(parent)) throw std::runtime_error("no editor");
                    while (!isDrawn()) plugin->idle();
                });
                plugin->closeEditor();
                Screen::destroy(parent);
            }
            return seconds;
        }));
}

/// Of this process, in seconds.
double processorTime() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Editors of instances that process two decorrelated channels of a chord, in a host whose timer
/// ticks every 20 ms: what share of a core their process takes. The X server's own work is not in
/// it.
void draw(benchmark::State& state, const test::Format& format, int count, bool isStripShown) {
    const TemporaryFolder settings;
    setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
    settings.file("kelvane/plugin-window", isStripShown ? "strip 1" : "strip 0");
    constexpr int settling = 150, ticks = 100;  // 3 s, in which what rests becomes one picture
    std::vector<float> left((settling + ticks) * block), right(left.size()), output(2 * block);
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(-0.15F, 0.15F);
    for (std::size_t i = 0; i < left.size(); ++i) {
        const auto t = static_cast<float>(i);
        const float mid = 0.5F * std::sin(t * 0.031F) + 0.3F * std::sin(t * 0.073F);
        const float side = 0.4F * std::sin(t * 0.047F + 1);
        left[i] = mid + side + noise(random);
        right[i] = mid - side + noise(random);
    }
    constexpr double none = 1e9;
    double least = none;
    for ([[maybe_unused]] auto pass : state) {
        const double share = bench::inAChild([&] {
            const Screen screen;
            std::vector<std::unique_ptr<test::Plugin>> plugins;
            for (int i = 0; i < count; ++i) {
                plugins.push_back(activePlugin(format));
                if (!plugins.back()->openEditor(Screen::makeWindow(680, 440)))
                    throw std::runtime_error("no editor");
            }
            double before = 0;
            int late = 0;
            auto due = std::chrono::steady_clock::now();
            for (int tick = 0; tick < settling + ticks; ++tick) {
                if (tick == settling) {
                    before = processorTime();
                    due = std::chrono::steady_clock::now();
                    late = 0;
                }
                const auto at = static_cast<std::size_t>(tick) * block;
                for (const auto& plugin : plugins) {
                    plugin->process({&left[at], &right[at]}, {output.data(), &output[block]}, block,
                                    {});
                    plugin->idle();
                }
                std::this_thread::sleep_until(due += 20ms);
                late += std::chrono::steady_clock::now() > due + 20ms;
            }
            // A host that comes late has fewer pictures drawn.
            return late < 10 ? (processorTime() - before) / (ticks * 0.02) : none;
        });
        least = std::min(least, share);
        state.SetIterationTime(share);
    }
    if (least == none) return state.SkipWithError("the machine is too busy");
    state.counters["percent_of_a_core"] = 100 * least;
}

/// Voluntary context switches of all threads of a process so far.
long wakeUps(pid_t process) {
    long sum = 0;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;)
            if (word == "voluntary_ctxt_switches:" && status >> word) sum += std::stol(word);
    }
    return sum;
}

/// The app without sound, some seconds after its start.
void idle(benchmark::State& state) {
    const TemporaryFolder settings;
    setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
    const Screen screen;
    const test::Child app({KELVANE_PROGRAM, "app", "--no-jack"});
    std::this_thread::sleep_for(10s);
    const auto before = wakeUps(app.pid());
    for ([[maybe_unused]] auto pass : state) {
        std::this_thread::sleep_for(4s);
        state.SetIterationTime(4);
    }
    state.counters["wake_ups_a_second"] = static_cast<double>(wakeUps(app.pid()) - before) / 4.0;
}

}  // namespace

int main(int argc, char** argv) {
    platform::console::setSink({});
    for (const auto& [name, format] : test::Format::all()) {
        if (!format.describe) continue;  // the bare instance
        for (const int times : {1, 2})
            benchmark::RegisterBenchmark(
                ("open/" + name + (times == 1 ? "/first" : "/again")).c_str(), open, format, times)
                ->UseManualTime()
                ->Iterations(1)
                ->Repetitions(4)
                ->Unit(benchmark::kMillisecond);
        for (const bool isStripShown : {true, false})
            benchmark::RegisterBenchmark(
                ("draw/" + name + (isStripShown ? "/20" : "/20/folded")).c_str(), draw, format, 20,
                isStripShown)
                ->UseManualTime()
                ->Iterations(3);
    }
    benchmark::RegisterBenchmark("idle", idle)->UseManualTime()->Iterations(1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
