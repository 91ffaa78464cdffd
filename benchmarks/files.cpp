// Enumerating a folder into a file tree against `find -printf` of the same fields, both on a warm
// cache. The ratio to find and the time and memory an entry should not grow with the tree.

#include <malloc.h>
#include <stdlib.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "files/FileEnumerator.h"
#include "files/Folder.h"
#include "platform/foundation/Console.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr long entriesAFolder = 100;

/// `entries` in folders of a hundred, ten of those in each of the folders above; removed at the
/// end.
class SomeFolder {
 public:
    explicit SomeFolder(long entries) {
        std::string pattern = fs::temp_directory_path() / "kelvane-bench-XXXXXX";
        path_ = mkdtemp(pattern.data());
        long made = 0;
        for (long folder = 0; made < entries; ++folder) {
            const auto above = path_ + "/group " + std::to_string(folder / 10);
            made += fs::create_directory(above);
            const auto inside = above + "/folder " + std::to_string(folder);
            made += fs::create_directory(inside);
            for (long i = 1; i < entriesAFolder && made < entries; ++i, ++made)
                std::ofstream(inside + "/sound " + std::to_string(i) + ".wav");
        }
    }
    ~SomeFolder() {
        fs::current_path("/");
        fs::remove_all(path_);
    }
    SomeFolder(const SomeFolder&) = delete;
    SomeFolder& operator=(const SomeFolder&) = delete;
    const std::string& path() const { return path_; }

 private:
    std::string path_;
};

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

double findSeconds(const std::string& path) {
    const auto command = "find '" + path +
                         "' -mindepth 1 \\( -readable -printf r -o -printf - \\) "
                         "\\( -writable -printf w -o -printf - \\) "
                         "\\( -executable -printf x -o -printf - \\) "
                         "-printf ' %y %s %B@ %T@ %m %U %G %n %D %i %d %P\\n' > /dev/null";
    const auto start = Clock::now();
    if (std::system(command.c_str()) != 0) throw std::runtime_error("find failed");
    return seconds(Clock::now() - start);
}

void enumerate(benchmark::State& state) {
    const auto entries = state.range(0);
    const SomeFolder folder(entries);
    platform::console::setSink({});
    findSeconds(folder.path());  // warms the cache
    double ours = 0, theirs = 0, bytes = 0;
    for (auto _ : state) {
        theirs += findSeconds(folder.path());
        const auto before = mallinfo2();
        const auto start = Clock::now();
        auto enumerator = std::make_unique<qov::FileEnumerator>();
        enumerator->enumerate(folder.path());
        const auto taken = seconds(Clock::now() - start);
        const auto after = mallinfo2();
        if (std::ssize(enumerator->fileTree->filelist()) != entries)
            throw std::runtime_error("entries are missing");
        bytes += static_cast<double>(after.uordblks + after.hblkhd) -
                 static_cast<double>(before.uordblks + before.hblkhd);
        ours += taken;
        state.SetIterationTime(taken);
    }
    const auto total = static_cast<double>(state.iterations() * entries);
    state.counters["us/entry"] = ours * 1e6 / total;
    state.counters["B/entry"] = bytes / total;
    state.counters["ours/find"] = ours / theirs;
}
BENCHMARK(enumerate)->Arg(10'000)->Arg(200'000)->UseManualTime()->Iterations(3)->Unit(
    benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
