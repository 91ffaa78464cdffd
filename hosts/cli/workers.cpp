#include "hosts/cli/workers.h"

#include <malloc.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/fileBytes.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

/// Results that wait for an earlier job's; beyond, workers wait, too.
constexpr std::size_t mostAhead = 1024;
constexpr std::size_t jobsPerWorkerAtTheEnd = 16;
constexpr timespec pollPeriod{.tv_sec = 0, .tv_nsec = 100'000'000};

volatile std::sig_atomic_t endingSignal = 0;

/// All of the bytes; false at the end and on an error.
bool readWhole(int descriptor, void* bytes, std::size_t count) {
    return readFully(descriptor, bytes, count) == count;
}

/// Catches in memory what is written to a standard stream.
class CaughtStream {
 public:
    explicit CaughtStream(int stream) : memory_(memfd_create("stream", MFD_CLOEXEC)) {
        dup2(memory_, stream);
    }
    /// What was written since the last call.
    std::string take() const {
        const auto size = lseek(memory_, 0, SEEK_CUR);
        if (size <= 0) return {};
        std::string text(static_cast<std::size_t>(size), '\0');
        lseek(memory_, 0, SEEK_SET);
        if (!readWhole(memory_, text.data(), text.size())) text.clear();
        lseek(memory_, 0, SEEK_SET);
        if (ftruncate(memory_, 0) != 0) std::_Exit(1);
        return text;
    }

 private:
    const int memory_;
};

/// Before the texts of a result on a worker's socket.
struct ResultHead {
    int code;
    std::array<std::uint64_t, 3> sizes;
};

int codeOf(const Jobs& jobs, std::size_t job, std::string& more) {
    try {
        return jobs.run(job, more);
    } catch (const Failure& failure) {
        fmt::print(stderr, "kelvane: {}\n", failure.what());
        return failure.exitCode();
    } catch (const std::exception& error) {
        fmt::print(stderr, "kelvane: {}\n", error.what());
        return 1;
    }
}

/// A worker's life: does the jobs whose numbers come, until none comes.
void work(const Jobs& jobs, int socket) {
    constexpr int keptMemory = 16 << 20;  // of a job, for the next: given back, it would be zeroed
    mallopt(M_TRIM_THRESHOLD, keptMemory);
    const CaughtStream out(STDOUT_FILENO), err(STDERR_FILENO);
    std::size_t job = 0;
    while (readWhole(socket, &job, sizeof job)) {
        std::string more;
        const int code = codeOf(jobs, job, more);
        std::fflush(nullptr);
        const std::array texts{out.take(), err.take(), more};
        ResultHead head{code, {}};
        std::ranges::transform(texts, head.sizes.begin(), &std::string::size);
        std::string result(reinterpret_cast<const char*>(&head), sizeof head);
        for (const auto& text : texts) result += text;
        if (!hosts::writeFully(socket, result.data(), result.size())) return;
    }
}

/// A worker, seen from the process that gives the jobs. Its destructor ends it.
class Worker {
 public:
    Worker(const Jobs& jobs, const sigset_t& unblocked) {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            throw Failure(fmt::format("there is no socket for a worker: {}", std::strerror(errno)));
        std::fflush(nullptr);
        const auto parent = getpid();
        process_ = fork();
        if (process_ < 0)
            throw Failure(fmt::format("a worker cannot start: {}", std::strerror(errno)));
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent) std::_Exit(1);
            hosts::watchSignals();
            pthread_sigmask(SIG_SETMASK, &unblocked, nullptr);
            close(ends[0]);
            work(jobs, ends[1]);
            std::_Exit(0);
        }
        close(ends[1]);
        socket_ = ends[0];
    }
    ~Worker() {
        close(socket_);
        if (process_ < 0) return;
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    int socket() const { return socket_; }
    /// Those that it has not ended; the first is the one that it does.
    const std::deque<std::size_t>& jobs() const { return jobs_; }
    void give(std::size_t job) {
        jobs_.push_back(job);
        hosts::writeFully(socket_, &job, sizeof job);  // a failure shows when the result is read
    }
    /// The result of its first job; false where the worker has ended.
    bool takeResult(JobResult& result) {
        jobs_.pop_front();
        ResultHead head{};
        bool isWhole = readWhole(socket_, &head, sizeof head);
        result.code = head.code;
        for (std::size_t i = 0; i < head.sizes.size() && isWhole; ++i) {
            auto& text = *std::array{&result.out, &result.err, &result.more}[i];
            text.resize(head.sizes[i]);
            isWhole = readWhole(socket_, text.data(), text.size());
        }
        if (isWhole) return true;
        int status = 0;
        waitpid(process_, &status, 0);
        result = {1, WIFSIGNALED(status) ? WTERMSIG(status) : SIGKILL, process_, {}, {}, {}};
        process_ = -1;
        return false;
    }

 private:
    pid_t process_ = -1;
    int socket_ = -1;
    std::deque<std::size_t> jobs_;
};

/// Holds back the signals that end the program, except while it waits, and notes them.
class NotedSignals {
 public:
    NotedSignals() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&ending, signal);
            struct sigaction action {};
            action.sa_handler = [](int number) { endingSignal = number; };
            auto& before = before_.emplace_back(signal, action);
            sigaction(signal, nullptr, &before.second);
            if (before.second.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
        }
        pthread_sigmask(SIG_BLOCK, &ending, &unblocked_);
    }
    ~NotedSignals() {
        for (const auto& [signal, action] : before_) sigaction(signal, &action, nullptr);
        pthread_sigmask(SIG_SETMASK, &unblocked_, nullptr);
    }
    NotedSignals(const NotedSignals&) = delete;
    NotedSignals& operator=(const NotedSignals&) = delete;

    const sigset_t& unblocked() const { return unblocked_; }
    /// Whether one has come that is not noted yet.
    bool isPending() const {
        sigset_t pending;
        sigpending(&pending);
        return std::ranges::any_of(
            before_, [&](const auto& each) { return sigismember(&pending, each.first) == 1; });
    }

 private:
    std::vector<std::pair<int, struct sigaction>> before_;
    sigset_t unblocked_{};
};

}  // namespace

int runInWorkers(const Jobs& jobs, unsigned count) {
    endingSignal = 0;
    const NotedSignals signals;
    std::vector<std::unique_ptr<Worker>> workers(std::min<std::size_t>(count, jobs.count));
    for (auto& worker : workers) worker = std::make_unique<Worker>(jobs, signals.unblocked());
    std::map<std::size_t, JobResult> waiting;
    std::size_t given = 0, taken = 0;
    while (taken < jobs.count) {
        std::vector<pollfd> polled;
        for (const auto& worker : workers) {
            // One in advance, so that it need not wait for this process; none near the end, where
            // that one could wait behind a long one while other workers have nothing to do.
            const std::size_t most = jobs.count - given > jobsPerWorkerAtTheEnd * count ? 2 : 1;
            while (worker->jobs().size() < most && given < std::min(jobs.count, taken + mostAhead))
                worker->give(given++);
            // A negative descriptor is passed over.
            polled.push_back({worker->jobs().empty() ? -1 : worker->socket(), POLLIN, 0});
        }
        const int ready = ppoll(polled.data(), polled.size(), &pollPeriod, &signals.unblocked());
        if (endingSignal != 0) {
            // What has ended behind a job that has not.
            for (const auto& [job, result] : waiting)
                if (result.signal == 0) jobs.take(job, result);
            return endingSignal;
        }
        for (std::size_t i = 0; i < polled.size() && ready > 0; ++i) {
            if (polled[i].revents == 0) continue;
            auto& worker = workers[i];
            if (worker->takeResult(waiting[worker->jobs().front()])) continue;
            const auto left = worker->jobs();
            worker = std::make_unique<Worker>(jobs, signals.unblocked());
            for (const auto job : left) worker->give(job);
        }
        // The terminal's Ctrl-C ends the workers, too: no failures of their jobs.
        if (signals.isPending()) continue;
        jobs.progress(taken + waiting.size());
        for (; waiting.contains(taken); ++taken) {
            jobs.take(taken, waiting[taken]);
            waiting.erase(taken);
        }
    }
    return 0;
}

}  // namespace qov::cli
