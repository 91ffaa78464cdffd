// What the engine costs beside a floor: the memory traffic of a cycle without its arithmetic. The
// repetitions of all of them are interleaved, so that a change of the machine's pace meets each.

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "dsp/ChainLoops.h"
#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"

namespace {

using namespace qov;
using Kernel = QOV_Kelvane_PluginDSPKernel;
using Settings = std::map<std::uint64_t, float>;

constexpr int usualBlock = 512;

const Settings neutral = {{kStereoWidth, 0.5f}, {kPanorama, 0.5f}};
const Settings full = {{kVolume, 0.8f},       {kPhaseShift, 1.0f},  {kInvertChannel, 1.0f},
                       {kSwapChannels, 1.0f}, {kRecoverMono, 1.0f}, {kStereoWidth, 0.8f},
                       {kPanorama, 0.3f},     {kTestMono, 1.0f}};

// Input and output blocks as a host holds them: shared by all instances, apart from each other.
class Blocks {
 public:
    explicit Blocks(int frames) : frames_(static_cast<std::uint32_t>(frames)) {
        std::mt19937 random(1);
        std::uniform_real_distribution sample(-1.0f, 1.0f);
        for (auto& channel : channels_) {
            channel.resize(frames_);
            for (float& frame : channel) frame = sample(random);
        }
        in_ = {channels_[0].data(), channels_[1].data(), frames_};
        out_ = {channels_[2].data(), channels_[3].data(), frames_};
    }

    void render(Kernel& kernel, const platform::AURenderEvent* events = nullptr) {
        kernel.setBuffers(in_.list(), out_.list());
        kernel.processWithEvents({}, frames_, events);
        benchmark::ClobberMemory();
    }

    std::vector<float>& channel(int index) { return channels_[index]; }

 private:
    std::uint32_t frames_;
    std::vector<float> channels_[4];
    platform::StereoBufferList in_, out_;
};

std::unique_ptr<Kernel> kernelWith(const Settings& settings) {
    auto kernel = std::make_unique<Kernel>();
    kernel->keepsSnapshot = false;  // as in the audio unit
    kernel->init(2, 44100);
    kernel->reset();
    for (const auto& [address, value] : settings) kernel->setParameter(address, value);
    Blocks blocks(usualBlock);
    for (int cycle = 0; cycle < 20; ++cycle) blocks.render(*kernel);
    return kernel;
}

void countFrames(benchmark::State& state, std::int64_t perIteration) {
    state.SetItemsProcessed(state.iterations() * perIteration);
}

// Two channels copied, then exchanged with a ring each, one of them with a delay line before that.
class Floor {
 public:
    void render(Blocks& blocks, int block) {
        for (int c = 0; c < 2; ++c)
            std::memcpy(blocks.channel(c + 2).data(), blocks.channel(c).data(),
                        sizeof(float) * static_cast<std::size_t>(block));
        exchange(line_, blocks.channel(2).data(), static_cast<std::size_t>(block));
        for (int c = 0; c < 2; ++c)
            exchange(rings_[c], blocks.channel(c + 2).data(), static_cast<std::size_t>(block));
        benchmark::ClobberMemory();
    }

 private:
    struct Ring {
        std::vector<float> frames;
        std::size_t pos = 0;
    };

    static void exchange(Ring& ring, float* samples, std::size_t count) {
        for (std::size_t i = 0; i < count;) {
            if (ring.pos >= ring.frames.size()) ring.pos = 0;
            const std::size_t run = std::min(count - i, ring.frames.size() - ring.pos);
            ChainLoops::current()->delay(samples + i, samples + i, ring.frames.data() + ring.pos,
                                         static_cast<std::int32_t>(run), 1.0f);
            ring.pos += run;
            i += run;
        }
    }

    Ring line_{std::vector<float>(441)};
    Ring rings_[2] = {{std::vector<float>(2048)}, {std::vector<float>(2048)}};
};

void floorOf(benchmark::State& state, int block, int count = 1) {
    Blocks blocks(block);
    std::vector<Floor> floors(static_cast<std::size_t>(count));
    for (auto _ : state)
        for (Floor& each : floors) each.render(blocks, block);
    countFrames(state, std::int64_t{block} * count);
}

void chain(benchmark::State& state, const Settings& settings, int block) {
    const auto kernel = kernelWith(settings);
    Blocks blocks(block);
    for (auto _ : state) blocks.render(*kernel);
    countFrames(state, block);
}

void chainInForm(benchmark::State& state, const char* form) {
    const ChainLoops* before = ChainLoops::current();
    if (!ChainLoops::select(form)) return state.SkipWithError("not for this processor");
    chain(state, full, usualBlock);
    for (const char* name : {"v4", "v3", "baseline"})
        if (ChainLoops::select(name) && ChainLoops::current() == before) break;
}

// Every event switches the panorama's side in mid-block.
void events(benchmark::State& state, int count) {
    const auto kernel = kernelWith(full);
    Blocks blocks(usualBlock);
    std::vector<platform::AURenderEvent> list(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        auto& event = list[static_cast<std::size_t>(i)];
        event.parameter = {i + 1 < count ? &event + 1 : nullptr,
                           (i + 1) * usualBlock / (count + 1),
                           platform::AURenderEventParameter,
                           {},
                           0,
                           kPanorama,
                           i % 2 ? 0.3f : 0.7f};
    }
    for (auto _ : state) blocks.render(*kernel, list.empty() ? nullptr : list.data());
    countFrames(state, usualBlock);
}

void instances(benchmark::State& state, int count) {
    std::vector<std::unique_ptr<Kernel>> kernels;
    for (int i = 0; i < count; ++i) kernels.push_back(kernelWith(full));
    Blocks blocks(usualBlock);
    for (auto _ : state)
        for (const auto& kernel : kernels) blocks.render(*kernel);
    countFrames(state, std::int64_t{usualBlock} * count);
}

void add(const std::string& name, auto run) {
    benchmark::RegisterBenchmark(name.c_str(), run);
}

void addAll() {
    for (const int block : {32, 64, 512, 1024}) {
        const auto with = [block](const char* name) {
            return std::string(name).append(std::to_string(block));
        };
        add(with("floor/"), [=](auto& state) { floorOf(state, block); });
        add(with("neutral/"), [=](auto& state) { chain(state, neutral, block); });
        add(with("full/"), [=](auto& state) { chain(state, full, block); });
    }
    const struct {
        const char* name;
        std::uint64_t address;
        float value;
    } stages[] = {{"volume", kVolume, 0.8f},         {"phase shift", kPhaseShift, 1},
                  {"invert", kInvertChannel, 1},     {"swap", kSwapChannels, 1},
                  {"recover mono", kRecoverMono, 1}, {"wider", kStereoWidth, 0.8f},
                  {"narrower", kStereoWidth, 0.2f},  {"pan left", kPanorama, 0.3f},
                  {"pan right", kPanorama, 0.7f},    {"test mono", kTestMono, 1}};
    for (const auto& stage : stages) {
        Settings settings = neutral;
        settings[stage.address] = stage.value;
        add(std::string("stage/") + stage.name,
            [=](auto& state) { chain(state, settings, usualBlock); });
    }
    for (const char* form : {"scalar", "baseline", "v3", "v4"})
        add(std::string("form/") + form, [=](auto& state) { chainInForm(state, form); });
    for (const int number : {1, 16})
        add("events/" + std::to_string(number), [=](auto& state) { events(state, number); });
    for (const int number : {1, 8, 64, 1000})
        add("instances/" + std::to_string(number), [=](auto& state) { instances(state, number); });
    // What the memory alone costs there: rings and lines of a thousand.
    add("floors/1000", [](auto& state) { floorOf(state, usualBlock, 1000); });
}

}  // namespace

int main(int argc, char** argv) {
    platform::console::setSink({});
    std::vector<std::string> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1,
                     {"--benchmark_repetitions=9", "--benchmark_min_time=0.02",
                      "--benchmark_enable_random_interleaving=true"});
    std::vector<char*> pointers;
    for (auto& argument : arguments) pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;
    addAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
