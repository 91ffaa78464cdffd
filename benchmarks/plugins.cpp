// What each plug-in format adds to the kernel: its process call against the kernel alone on the
// same blocks, and the time and memory of an instance and of a scan of the bundle.
#include <malloc.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/inAChild.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/renderEvents.h"

namespace {

using namespace qov;
using platform::AURenderEvent;
using Kernel = QOV_Kelvane_PluginDSPKernel;
using Settings = std::vector<std::pair<std::uint64_t, float>>;

constexpr double rate = 48000;
constexpr double never = std::numeric_limits<double>::max();

const Settings neutral = {{kStereoWidth, 0.5F}, {kPanorama, 0.5F}};
const Settings full = {{kPhaseShift, 1},  {kInvertChannel, 1}, {kSwapChannels, 1},
                       {kRecoverMono, 1}, {kTestMono, 1},      {kStereoWidth, 0.8F},
                       {kPanorama, 0.3F}};

void process(benchmark::State& state, const test::Format& format, const Settings& settings,
             std::uint32_t block) {
    std::vector<float> channels[4];
    std::minstd_rand random(1);
    for (auto& channel : channels) {
        channel.resize(block);
        for (float& sample : channel) sample = static_cast<float>(random() % 2001) / 1000 - 1;
    }
    float* const data[] = {channels[0].data(), channels[1].data(), channels[2].data(),
                           channels[3].data()};

    platform::StereoBufferList in(data[0], data[1], block), out(data[2], data[3], block);
    std::vector<AURenderEvent> events;
    for (const auto& [address, value] : settings)
        events.push_back(test::parameterEvent(0, address, value));
    // Several of each, scattered: where in memory one happens to lie matters as much as what is
    // measured.
    constexpr int pairs = 16;
    std::vector<std::vector<char>> gaps;
    const auto gap = [&] { gaps.emplace_back(16 + random() % 4096); };
    std::vector<std::unique_ptr<Kernel>> kernels;
    std::vector<std::unique_ptr<test::Plugin>> plugins;
    for (int i = 0; i < pairs; ++i) {
        gap();
        auto& kernel = *kernels.emplace_back(std::make_unique<Kernel>());
        kernel.keepsSnapshot = false;  // as in the audio unit
        kernel.init(2, rate);
        kernel.reset();
        for (const auto& [address, value] : settings) kernel.setParameter(address, value);
        gap();
        auto& plugin = *plugins.emplace_back(format.create());
        if (!plugin.activate(rate, block)) return state.SkipWithError("does not activate");
        plugin.process({data[0], data[1]}, {data[2], data[3]}, block, events);
        plugin.prepare({data[0], data[1]}, {data[2], data[3]}, block, {});
    }

    // In turn and in short runs: a change of the machine's pace meets both, and the least of each
    // is what it takes undisturbed.
    constexpr int blocks = 200;
    double least = never;
    double leastOfKernel = never;
    std::size_t pair = 0;
    for ([[maybe_unused]] auto pass : state) {
        auto& kernel = *kernels[pair];
        auto& plugin = *plugins[pair];
        pair = (pair + 1) % pairs;
        leastOfKernel = std::min(leastOfKernel, bench::secondsOf([&] {
                                     for (int i = 0; i < blocks; ++i) {
                                         kernel.setBuffers(in.list(), out.list());
                                         kernel.processWithEvents({}, block, nullptr);
                                         benchmark::ClobberMemory();
                                     }
                                 }));
        const double seconds = bench::secondsOf([&] { plugin.repeat(blocks); });
        least = std::min(least, seconds);
        state.SetIterationTime(seconds / blocks);
    }
    state.counters["ns_a_block"] = least / blocks * 1e9;
    state.counters["ratio_to_kernel"] = least / leastOfKernel;
}

/// Made, activated, gone. The body is loaded before.
void create(benchmark::State& state, const test::Format& format) {
    const auto first = format.create();
    for ([[maybe_unused]] auto pass : state) {
        const auto plugin = format.create();
        plugin->activate(rate, 512);
    }
    constexpr int count = 200;
    const auto used = [] { return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd); };
    const double before = used();
    std::vector<std::unique_ptr<test::Plugin>> plugins;
    for (int i = 0; i < count; ++i) {
        plugins.push_back(format.create());
        plugins.back()->activate(rate, 512);
    }
    state.counters["KiB_an_instance"] = (used() - before) / count / 1024;
}

void scan(benchmark::State& state, const test::Format& format) {
    double least = never;
    for ([[maybe_unused]] auto pass : state) {
        const double seconds =
            bench::inAChild([&] { return bench::secondsOf([&] { format.describe(); }); });
        least = std::min(least, seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["least_ms"] = least * 1000;
}

}  // namespace

int main(int argc, char** argv) {
    platform::console::setSink({});
    // Scans first, in a process that has opened no bundle.
    for (const auto& [name, format] : test::Format::all())
        if (format.describe)
            benchmark::RegisterBenchmark(("scan/" + name).c_str(), scan, format)
                ->UseManualTime()
                ->Iterations(20)
                ->Unit(benchmark::kMillisecond);
    for (const auto& [format, calls] : test::Format::all()) {
        for (const auto& [name, settings] : {std::pair("neutral", &neutral), {"full", &full}})
            for (const std::uint32_t block : {64, 512})
                benchmark::RegisterBenchmark(
                    ("process/" + format + "/" + name + "/" + std::to_string(block)).c_str(),
                    process, calls, *settings, block)
                    ->UseManualTime()
                    ->Iterations(1000);
        benchmark::RegisterBenchmark(("create/" + format).c_str(), create, calls)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
