#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "hosts/app/SoundLoop.h"
#include "hosts/app/SoundSource.h"
#include "hosts/instance/Instance.h"

namespace qov::app {
namespace {

constexpr std::uint32_t kBlock = 1024;  // frames

class ClockSource final : public SoundSource {
 public:
    explicit ClockSource(double rate) : rate_(rate) {}

    double rate() const override { return rate_; }
    std::uint32_t longestBlock() const override { return kBlock; }

    bool start(hosts::Instance& instance, SoundLoop& loop) override {
        if (loop.isEmpty()) return true;  // nothing will ever sound
        thread_ = std::jthread(
            [this, &instance, &loop](const std::stop_token& stop) { run(stop, instance, loop); });
        return true;
    }

 private:
    void run(const std::stop_token& stop, hosts::Instance& instance, SoundLoop& loop) {
        using Clock = std::chrono::steady_clock;
        const auto block = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(kBlock / rate_));
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any wake;
        for (auto due = Clock::now(); !stop.stop_requested();) {
            left_.fill(0);
            right_.fill(0);
            loop.mixInto(left_.data(), right_.data(), kBlock);
            const float* const input[2] = {left_.data(), right_.data()};
            float* const output[2] = {left_.data(), right_.data()};
            instance.process(input, output, kBlock);
            // A machine that slept does not catch up.
            due = std::max(due + block, Clock::now() - block);
            wake.wait_until(lock, stop, due, [] { return false; });
        }
    }

    double rate_;
    std::array<float, kBlock> left_{}, right_{};
    std::jthread thread_;
};

}  // namespace

std::unique_ptr<SoundSource> makeClock(double rate) {
    return std::make_unique<ClockSource>(rate);
}

}  // namespace qov::app
