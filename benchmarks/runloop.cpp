// What the run loop adds to calling a block, as ratios against a floor measured in the same run:
// blocks put into a locked vector and called from it. And what a storm of parameter changes costs.

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/dispatch/DispatchQueue.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/OperationQueue.h"

namespace {

using platform::DispatchQueue;
using platform::OperationQueue;
using platform::RunLoop;

constexpr int changes = 10'000;

/// What a parameter observer keeps of a change: the controller, the address and the value.
struct Change {
    std::shared_ptr<long> controller;
    long address;
    float value;
    void operator()() const { *controller += address; }
};

double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void callFromALockedVector(const std::shared_ptr<long>& controller) {
    std::mutex mutex;
    std::vector<std::function<void()>> queue;
    for (int i = 0; i < changes; ++i) {
        std::function<void()> block = Change{controller, i, 0.5F};
        const std::lock_guard lock(mutex);
        queue.push_back(std::move(block));
    }
    for (auto& block : queue) std::exchange(block, {})();
}

void oneHop(RunLoop& loop, const std::shared_ptr<long>& controller) {
    for (int i = 0; i < changes; ++i) DispatchQueue::main().async(Change{controller, i, 0.5F});
    loop.pump();
}

/// As the editor does it: from the main queue to the main operation queue.
void twoHops(RunLoop& loop, const std::shared_ptr<long>& controller) {
    for (int i = 0; i < changes; ++i) {
        DispatchQueue::main().async([change = Change{controller, i, 0.5F}] {
            OperationQueue::main().addOperation(change);
        });
    }
    loop.pump();
}

template <class Work>
void compare(benchmark::State& state, Work work) {
    const auto loop = RunLoop::create();
    const RunLoop::MakeCurrent makeCurrent(loop);
    const auto controller = std::make_shared<long>(0);
    double floor = 1e9;
    double best = 1e9;
    for (auto _ : state) {
        floor = std::min(floor, seconds([&] { callFromALockedVector(controller); }));
        best = std::min(best, seconds([&] { work(*loop, controller); }));
    }
    benchmark::DoNotOptimize(*controller);
    state.counters["x floor"] = best / floor;
    state.counters["ns a change"] = best / changes * 1e9;
    state.counters["% of a core at 100k/s"] = best / changes * 100'000 * 100;
}

void hop(benchmark::State& state) {
    compare(state, oneHop);
}
void doubleHop(benchmark::State& state) {
    compare(state, twoHops);
}

/// A turn that finds nothing to do, as a host's idle callback mostly does.
void idleTurn(benchmark::State& state) {
    const auto loop = RunLoop::create();
    loop->schedule(3600, true, [] {});
    for (auto _ : state) benchmark::DoNotOptimize(loop->pump());
}

BENCHMARK(hop)->Unit(benchmark::kMillisecond);
BENCHMARK(doubleHop)->Unit(benchmark::kMillisecond);
BENCHMARK(idleTurn);

}  // namespace

BENCHMARK_MAIN();
