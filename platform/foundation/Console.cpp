#include "platform/foundation/Console.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace platform::console {
namespace {

struct Console {
    std::mutex mutex;
    Sink sink = standardOutput();
};

Console& shared() {
    // Never destroyed: objects that print on their way out may outlive any static.
    static auto& console = *new Console;
    return console;
}

}  // namespace

void print(std::string_view line) {
    auto& console = shared();
    const std::lock_guard lock(console.mutex);
    if (console.sink) console.sink(line);
}

Sink setSink(Sink sink) {
    auto& console = shared();
    const std::lock_guard lock(console.mutex);
    return std::exchange(console.sink, std::move(sink));
}

Sink standardOutput() {
    return [](std::string_view line) {
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    };
}

}  // namespace platform::console
