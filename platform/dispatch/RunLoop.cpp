#include "platform/dispatch/RunLoop.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "platform/dispatch/RunLoopWaiter.h"

namespace platform {
namespace {

using Nanoseconds = std::int64_t;
using SharedBlock = std::shared_ptr<const RunLoop::Block>;

thread_local RunLoop* currentLoop = nullptr;

Nanoseconds nanoseconds(double seconds) {
    // 30 years: far enough for "never", and sums of two stay inside 64 bits.
    constexpr double kLongest = 1e9;
    return std::isnan(seconds) ? 0 : std::llround(std::clamp(seconds, -kLongest, kLongest) * 1e9);
}

double seconds(Nanoseconds time) {
    return static_cast<double>(time) * 1e-9;
}

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct ScheduledTimer {
    Nanoseconds start;
    Nanoseconds interval;
    Nanoseconds deadline;
    bool repeats;
    SharedBlock block;

    /// To the first point of the grid after `now`.
    void moveBehind(Nanoseconds now) {
        deadline = start + ((now - start) / interval + 1) * interval;
    }
};

}  // namespace

struct RunLoop::State {
    Clock clock;
    std::atomic<bool> turning{false};

    mutable std::mutex mutex;  // guards what follows; never held while a block runs or is destroyed
    bool ended = false;
    bool stopped = false;
    std::vector<Block> queue;
    std::map<TimerID, ScheduledTimer> timers;
    std::set<std::pair<Nanoseconds, TimerID>> deadlines;
    std::map<int, SharedBlock> descriptors;
    std::map<ObserverID, SharedBlock> observers;
    std::uint64_t lastID = 0;
    Nanoseconds testTime = 0;
    bool onTestClock = false;

    std::unique_ptr<RunLoopWaiter> waiter;  // null until the first wait

    Nanoseconds now() const {
        if (!onTestClock) return nanoseconds(clock());
        const std::lock_guard lock(mutex);
        return testTime;
    }

    // The following are called with the mutex held.

    RunLoopWaiter* openWaiter() {
        if (waiter || ended) return waiter.get();
        waiter = RunLoopWaiter::make();
        if (!queue.empty() || stopped) signal();
        return waiter.get();
    }
    void signal() {
        if (waiter) waiter->signal();
    }

    // A turn's parts. Each returns whether a block ran.

    bool runDescriptors();
    bool runTimers();
    bool runQueue();
    void runObservers();
};

// Which loop

RunLoop::RunLoop(Clock clock) : state_(std::make_unique<State>()) {
    state_->clock = clock ? std::move(clock) : Clock(monotonicSeconds);
}

RunLoop::~RunLoop() {
    end();
}

std::shared_ptr<RunLoop> RunLoop::create(Clock clock) {
    return std::shared_ptr<RunLoop>(new RunLoop(std::move(clock)));
}

std::shared_ptr<RunLoop> RunLoop::createForTest() {
    auto loop = create();
    loop->state_->onTestClock = true;
    return loop;
}

RunLoop& RunLoop::main() {
    // Never destroyed: objects that submit on their way out may outlive any static.
    static auto& loop = *new std::shared_ptr<RunLoop>(create());
    return *loop;
}

RunLoop& RunLoop::current() {
    return currentLoop ? *currentLoop : main();
}

RunLoop::MakeCurrent::MakeCurrent(std::shared_ptr<RunLoop> loop)
    : loop_(std::move(loop)), before_(std::exchange(currentLoop, loop_.get())) {}

RunLoop::MakeCurrent::~MakeCurrent() {
    currentLoop = before_;
}

// Work

void RunLoop::submit(Block block) {
    if (!block) return;
    const std::lock_guard lock(state_->mutex);
    if (state_->ended) return;
    state_->queue.push_back(std::move(block));
    state_->signal();
}

RunLoop::TimerID RunLoop::schedule(double interval, bool repeats, Block block) {
    if (!(interval >= kShortestInterval)) interval = kShortestInterval;
    const auto start = state_->now();
    const auto step = nanoseconds(interval);
    ScheduledTimer timer{start, step, start + step, repeats,
                         std::make_shared<const Block>(std::move(block))};

    const std::lock_guard lock(state_->mutex);
    const auto id = ++state_->lastID;
    if (state_->ended) return id;
    state_->deadlines.emplace(timer.deadline, id);
    state_->timers.emplace(id, std::move(timer));
    return id;
}

void RunLoop::cancel(TimerID id) {
    SharedBlock released;  // destroyed after the lock: a block's captures may call the loop
    const std::lock_guard lock(state_->mutex);
    const auto timer = state_->timers.find(id);
    if (timer == state_->timers.end()) return;
    released = std::move(timer->second.block);
    state_->deadlines.erase({timer->second.deadline, id});
    state_->timers.erase(timer);
}

bool RunLoop::addFileDescriptor(int descriptor, Block block) {
    auto shared = std::make_shared<const Block>(std::move(block));
    const std::lock_guard lock(state_->mutex);
    if (state_->ended || !state_->openWaiter() || !state_->waiter->add(descriptor)) return false;
    state_->descriptors[descriptor].swap(shared);
    return true;
}

void RunLoop::removeFileDescriptor(int descriptor) {
    SharedBlock released;
    const std::lock_guard lock(state_->mutex);
    const auto found = state_->descriptors.find(descriptor);
    if (found == state_->descriptors.end()) return;
    released = std::move(found->second);
    state_->descriptors.erase(found);
    state_->waiter->remove(descriptor);
}

RunLoop::ObserverID RunLoop::addBeforeWaiting(Block block) {
    auto shared = std::make_shared<const Block>(std::move(block));
    const std::lock_guard lock(state_->mutex);
    const auto id = ++state_->lastID;
    if (!state_->ended) state_->observers.emplace(id, std::move(shared));
    return id;
}

void RunLoop::removeBeforeWaiting(ObserverID observer) {
    SharedBlock released;
    const std::lock_guard lock(state_->mutex);
    const auto found = state_->observers.find(observer);
    if (found == state_->observers.end()) return;
    released = std::move(found->second);
    state_->observers.erase(found);
}

// Turning

bool RunLoop::pump() {
    if (state_->turning.exchange(true, std::memory_order_acquire)) return false;
    struct Turn {
        std::atomic<bool>& turning;
        ~Turn() { turning.store(false, std::memory_order_release); }
    };
    const auto self = shared_from_this();  // a block may release the last other owner
    const Turn turn{state_->turning};
    const MakeCurrent makeCurrent(self);

    bool worked = state_->runDescriptors();
    worked |= state_->runTimers();
    worked |= state_->runQueue();
    state_->runObservers();
    return worked;
}

bool RunLoop::State::runDescriptors() {
    std::array<int, 16> readable;
    RunLoopWaiter* with = nullptr;
    {
        const std::lock_guard lock(mutex);
        if (ended || descriptors.empty()) return false;
        with = waiter.get();
    }
    const auto count = with->ready(readable);
    bool worked = false;
    for (std::size_t i = 0; i < count; ++i) {
        SharedBlock block;
        {
            const std::lock_guard lock(mutex);
            const auto found = descriptors.find(readable[i]);
            if (found != descriptors.end()) block = found->second;
        }
        if (!block || !*block) continue;
        (*block)();
        worked = true;
    }
    return worked;
}

bool RunLoop::State::runTimers() {
    std::vector<TimerID> due;
    {
        const auto time = now();
        const std::lock_guard lock(mutex);
        for (const auto& [deadline, id] : deadlines) {
            if (deadline > time) break;
            due.push_back(id);
        }
    }
    bool worked = false;
    for (const auto id : due) {
        SharedBlock block;
        {
            const std::lock_guard lock(mutex);
            const auto timer = timers.find(id);
            if (timer == timers.end()) continue;  // cancelled by a block before it
            block = timer->second.block;
            deadlines.erase({timer->second.deadline, id});
            if (!timer->second.repeats) timers.erase(timer);
        }
        if (*block) (*block)();
        worked = true;

        // Only now, so that ticks missed while the block ran are missed like others.
        const auto time = now();
        const std::lock_guard lock(mutex);
        const auto timer = timers.find(id);
        if (timer == timers.end()) continue;
        timer->second.moveBehind(time);
        deadlines.emplace(timer->second.deadline, id);
    }
    return worked;
}

bool RunLoop::State::runQueue() {
    bool worked = false;
    for (int hop = 0; hop < kHops; ++hop) {
        std::vector<Block> batch;
        {
            const std::lock_guard lock(mutex);
            if (waiter) waiter->clearSignal();
            batch.swap(queue);
        }
        if (batch.empty()) return worked;
        worked = true;
        for (auto& block : batch) {
            {
                const std::lock_guard lock(mutex);
                if (ended) return worked;
            }
            std::exchange(block, {})();
        }
    }
    const std::lock_guard lock(mutex);
    if (!queue.empty()) signal();
    return worked;
}

void RunLoop::State::runObservers() {
    std::vector<ObserverID> ids;
    {
        const std::lock_guard lock(mutex);
        for (const auto& [id, block] : observers) ids.push_back(id);
    }
    for (const auto id : ids) {
        SharedBlock block;
        {
            const std::lock_guard lock(mutex);
            const auto found = observers.find(id);
            if (found != observers.end()) block = found->second;
        }
        if (block && *block) (*block)();
    }
}

bool RunLoop::runOnce(double longestWait) {
    wait(longestWait);
    return pump();
}

void RunLoop::wait(double longest) {
    if (const auto deadline = nextDeadline()) longest = std::min(longest, *deadline - now());
    if (!(longest > 0)) return;
    RunLoopWaiter* waiter = nullptr;
    {
        const std::lock_guard lock(state_->mutex);
        waiter = state_->openWaiter();
    }
    if (waiter) return waiter->wait(nanoseconds(longest));
    // Nothing can wake the loop, so the queue is checked a hundred times a second.
    std::this_thread::sleep_for(std::chrono::duration<double>(std::min(longest, 0.01)));
}

void RunLoop::run() {
    const auto self = shared_from_this();
    for (;;) {
        {
            const std::lock_guard lock(state_->mutex);
            if (std::exchange(state_->stopped, false) || state_->ended) return;
        }
        runOnce(HUGE_VAL);
    }
}

void RunLoop::stop() {
    const std::lock_guard lock(state_->mutex);
    state_->stopped = true;
    state_->signal();
}

void RunLoop::end() {
    // Taken out under the lock, destroyed after it: captures may call the loop on their way out.
    std::vector<Block> queue;
    std::map<TimerID, ScheduledTimer> timers;
    std::map<int, SharedBlock> descriptors;
    std::map<ObserverID, SharedBlock> observers;

    const std::lock_guard lock(state_->mutex);
    state_->ended = true;
    queue.swap(state_->queue);
    timers.swap(state_->timers);
    descriptors.swap(state_->descriptors);
    observers.swap(state_->observers);
    state_->deadlines.clear();
    for (const auto& [descriptor, block] : descriptors) state_->waiter->remove(descriptor);
    state_->signal();
}

bool RunLoop::hasEnded() const {
    const std::lock_guard lock(state_->mutex);
    return state_->ended;
}

// Waiting elsewhere

double RunLoop::now() const {
    return seconds(state_->now());
}

std::optional<double> RunLoop::nextDeadline() const {
    const auto time = state_->now();
    const std::lock_guard lock(state_->mutex);
    if (!state_->queue.empty()) return seconds(time);
    if (state_->deadlines.empty()) return {};
    return seconds(std::max(time, state_->deadlines.begin()->first));
}

int RunLoop::fileDescriptor() {
    const std::lock_guard lock(state_->mutex);
    const auto* waiter = state_->openWaiter();
    return waiter ? waiter->fileDescriptor() : -1;
}

void RunLoop::advance(double span) {
    const auto move = [this](Nanoseconds time) {
        const std::lock_guard lock(state_->mutex);
        state_->testTime = std::max(state_->testTime, time);
    };
    const auto target = state_->now() + nanoseconds(span);
    if (state_->turning) return move(target);
    for (;;) {
        pump();
        Nanoseconds next = target;
        {
            const std::lock_guard lock(state_->mutex);
            if (state_->deadlines.empty() || state_->deadlines.begin()->first > target) break;
            next = state_->deadlines.begin()->first;
        }
        move(next);
    }
    move(target);
    pump();
}

}  // namespace platform
