// kelvane render of a ten-minute float WAV against a program that only copies it through the sound
// file library with buffers of the same size: CPU time of the process, user and system. And the
// time from the program's start to its first frames in a pipe.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sndfile.h>

namespace {

constexpr int rate = 44100;
constexpr sf_count_t bufferFrames = 8192;  // as kelvane render reads and writes

void writeNoise(const std::string& path, int seconds) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    std::vector<float> samples(2 * rate);
    std::uint32_t noise = 1;
    for (int second = 0; second < seconds; ++second) {
        for (float& sample : samples) {
            noise = noise * 1664525U + 1013904223U;
            sample = static_cast<float>(static_cast<std::int32_t>(noise)) / 4294967296.0F;
        }
        sf_writef_float(file, samples.data(), rate);
    }
    sf_close(file);
}

/// A long file, and a folder of short ones with the folders for their copies.
struct Files {
    Files() {
        // In memory: on a disk, its own work is most of the time, and another each time.
        const std::filesystem::path memory = "/dev/shm",
                                    disk = std::filesystem::temp_directory_path();
        std::string path = (exists(memory) ? memory : disk) / "kelvane-bench-XXXXXX";
        folder = mkdtemp(path.data());
        in = folder + "/in.wav";
        out = folder + "/out.wav";
        writeNoise(in, 600);
        for (const char* name : {"/many", "/copies"})
            std::filesystem::create_directory(folder + name);
        writeNoise(folder + "/many/0.wav", 1);
        for (int i = 1; i < 1000; ++i)
            std::filesystem::copy(folder + "/many/0.wav",
                                  folder + "/many/" + std::to_string(i) + ".wav");
    }
    ~Files() { std::filesystem::remove_all(folder); }
    std::string folder, in, out;
};

const Files& files() {
    static const Files instance;
    return instance;
}

/// Seconds of CPU that a child process takes to write the output anew.
double cpuOf(const std::function<void()>& child) {
    std::filesystem::remove(files().out);
    const pid_t pid = fork();
    if (pid == 0) {
        child();
        _exit(1);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "a program that is measured has failed\n");
        std::abort();
    }
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void copy(const char* from, const char* to) {
    SF_INFO info{};
    SNDFILE* const in = sf_open(from, SFM_READ, &info);
    SNDFILE* const out = sf_open(to, SFM_WRITE, &info);
    // Without the peak chunk, as kelvane, for which the library would look at every sample.
    sf_command(out, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    std::vector<float> buffer(2 * bufferFrames);
    while (const auto frames = sf_readf_float(in, buffer.data(), bufferFrames))
        sf_writef_float(out, buffer.data(), frames);
    sf_close(in);
    sf_close(out);
}

/// The floor: this program, started anew as nothing but a copy.
double cpuOfCopy() {
    return cpuOf([] {
        execl("/proc/self/exe", "bench_render", "--copy", files().in.c_str(), files().out.c_str(),
              nullptr);
    });
}

double cpuOfProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {KELVANE_PROGRAM, "render"});
    return cpuOf([&] {
        std::vector<char*> argv;
        for (auto& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(KELVANE_PROGRAM, argv.data());
    });
}

void render(benchmark::State& state, const std::vector<std::string>& options) {
    double renderCpu = std::numeric_limits<double>::max();
    double copyCpu = renderCpu;
    for ([[maybe_unused]] auto pass : state) {
        // In turn, so that a change of the machine's pace meets both; the least of each is what it
        // takes without other use of the disk.
        copyCpu = std::min(copyCpu, cpuOfCopy());
        std::vector<std::string> arguments{files().in, files().out, "--no-progress"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const double cpu = cpuOfProgram(arguments);
        renderCpu = std::min(renderCpu, cpu);
        state.SetIterationTime(cpu);
    }
    state.counters["ratio_to_copy"] = renderCpu / copyCpu;
    state.counters["times_real_time"] = 600.0 / renderCpu;
}

void manyFiles(benchmark::State& state) {
    const std::string from = files().folder + "/many", to = files().folder + "/rendered";
    const std::filesystem::path copies = files().folder + "/copies";
    double renderCpu = std::numeric_limits<double>::max();
    double copyCpu = renderCpu;
    for ([[maybe_unused]] auto pass : state) {
        copyCpu =
            std::min(copyCpu, cpuOf([&] {
                         for (const auto& file : std::filesystem::directory_iterator(from))
                             copy(file.path().c_str(), (copies / file.path().filename()).c_str());
                         _exit(0);
                     }));
        std::filesystem::remove_all(to);
        const double cpu = cpuOfProgram({from, to + "/", "-q", "--stereo-width=0.8"});
        renderCpu = std::min(renderCpu, cpu);
        state.SetIterationTime(cpu);
    }
    state.counters["ratio_to_copy"] = renderCpu / copyCpu;
}
BENCHMARK(manyFiles)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

/// The program's head and first frames are read, then the pipe is closed.
void start(benchmark::State& state) {
    const std::string in = files().in;
    double least = std::numeric_limits<double>::max();
    for ([[maybe_unused]] auto pass : state) {
        int ends[2];
        if (pipe(ends) != 0) std::abort();
        const auto begin = std::chrono::steady_clock::now();
        const pid_t pid = fork();
        if (pid == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            execl(KELVANE_PROGRAM, KELVANE_PROGRAM, "render", in.c_str(), "-", "-q", nullptr);
            _exit(1);
        }
        close(ends[1]);
        constexpr std::size_t wanted = 1024;
        char bytes[wanted];
        std::size_t count = 0;
        for (ssize_t more = 1; count < wanted && more > 0; count += static_cast<std::size_t>(more))
            more = std::max<ssize_t>(read(ends[0], bytes, wanted - count), 0);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        close(ends[0]);
        waitpid(pid, nullptr, 0);
        if (count < wanted) return state.SkipWithError("no frames");
        least = std::min(least, seconds.count());
        state.SetIterationTime(seconds.count());
    }
    state.counters["least_ms"] = least * 1000;
}

BENCHMARK(start)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(render, neutral, {})
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(render, every_stage,
                  {"--stereo-width=0.8", "--panorama=0.4", "--phase-shift=0.25", "--swap-channels",
                   "--invert-channel", "--recover-mono", "--test-mono", "--volume=0.9"})
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(render, bypassed, {"--bypass"})
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--copy") {
        copy(argv[2], argv[3]);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
