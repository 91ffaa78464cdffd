#include "hosts/output/OutputPlace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fmt/format.h>

#include "hosts/output/Failure.h"

namespace qov::hosts {
namespace {

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};

/// The file that the signal handler removes; `path` is valid while `isSet`.
struct UnfinishedFile {
    std::array<char, PATH_MAX> path{};
    std::atomic<bool> isSet = false;
};
UnfinishedFile unfinished;

/// Blocks the signals that end the program, for a scope.
class SignalsBlocked {
 public:
    SignalsBlocked() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : endingSignals) sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
    sigset_t before_{};
};

void print(const char* text) {
    // A signal handler cannot handle a failing terminal.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, std::strlen(text));
}

/// Only calls that are safe in a signal handler.
void endBySignal(int signal) {
    print(signal == SIGINT ? "\nkelvane: interrupted" : "\nkelvane: ended by a signal");
    if (unfinished.isSet) {
        unlink(unfinished.path.data());
        print("; the output is as it was");
    }
    print("\n");
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// The file that a path leads to through links; the path itself where there is none.
std::string resolveLinks(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           std::free);
    return real ? std::string(real.get()) : path;
}

/// Of a process's file for an output, beside it, so that the rename stays on one disk.
std::string nameBeside(const std::string& target, int process, unsigned number) {
    const auto file = target.rfind('/') + 1;  // 0 without a folder
    return fmt::format("{}.{}.{:x}-{:x}", target.substr(0, file), target.substr(file), process,
                       number);
}

/// A new file of this process for an output; -1 with errno where there can be none.
int openBeside(const std::string& target, mode_t mode, std::string& path) {
    int descriptor = -1;
    errno = EEXIST;
    for (unsigned number = 0; descriptor < 0 && errno == EEXIST; ++number) {
        path = nameBeside(target, getpid(), number);
        descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    }
    return descriptor;
}

}  // namespace

OutputPlace::OutputPlace(const std::string& path) : name_(path) {
    if (path == "-") {
        name_ = "standard output";
        descriptor_ = STDOUT_FILENO;
        return;
    }
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode))
        throw Failure(fmt::format("{}: is a folder; name a file in it", path));
    if (exists && !S_ISREG(status.st_mode)) {
        descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) failToWrite(errno);
        return;
    }
    target_ = resolveLinks(path);
    const SignalsBlocked untilSet;
    descriptor_ = openBeside(target_, exists ? 0600 : 0666, temporary_);
    if (descriptor_ < 0) {
        const int error = errno;
        temporary_.clear();
        failToWrite(error);
    }
    std::memcpy(unfinished.path.data(), temporary_.c_str(), temporary_.size() + 1);
    unfinished.isSet = true;
    if (exists) fchmod(descriptor_, status.st_mode & 07777);
}

OutputPlace::~OutputPlace() {
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
        unfinished.isSet = false;
    }
    if (descriptor_ > STDERR_FILENO) close(descriptor_);
}

void OutputPlace::write(std::string_view bytes) const {
    if (!writeFully(descriptor_, bytes.data(), bytes.size())) failToWrite(errno);
}

void OutputPlace::commit() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    // Some file systems report a full disk only here.
    if (close(descriptor) != 0 && errno != EINTR) failToWrite(errno);
    if (temporary_.empty()) return;
    if (rename(temporary_.c_str(), target_.c_str()) != 0) failToWrite(errno);
    unfinished.isSet = false;
    temporary_.clear();
}

void OutputPlace::failToWrite(int error) const {
    if (error == EPIPE)
        throw Failure(fmt::format("{}: its reader closed it before the end", name_));
    throw Failure(fmt::format("{}: cannot write: {}", name_, std::strerror(error)));
}

void writeOutput(const std::string& path, std::string_view bytes) {
    OutputPlace place(path);
    place.write(bytes);
    place.commit();
}

void removeUnfinished(const std::string& path, int process) {
    const auto target = resolveLinks(path);
    for (unsigned number = 0; unlink(nameBeside(target, process, number).c_str()) == 0;) ++number;
}

bool writeFully(int descriptor, const void* bytes, std::size_t count) {
    const auto* from = static_cast<const char*>(bytes);
    while (count > 0) {
        const auto put = write(descriptor, from, count);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        from += put;
        count -= static_cast<std::size_t>(put);
    }
    return true;
}

bool isSameFile(const std::string& one, const std::string& other) {
    struct stat a {};
    struct stat b {};
    return stat(one.c_str(), &a) == 0 && stat(other.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

void watchSignals() {
    struct sigaction action {};
    action.sa_handler = endBySignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : endingSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        // A signal that was ignored at the start (nohup) stays ignored.
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace qov::hosts
