#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/BatchOptions.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/cli/renderBatch.h"
#include "hosts/cli/renderFile.h"
#include "platform/foundation/Console.h"

namespace qov::cli {
namespace {

constexpr auto renderHelp = R"(
OUT's format follows its ending: wav, flac, aiff, w64, rf64, caf, au, ogg, opus, mp3. Its samples are of
the input's subtype where the format has it, else float, pcm24, pcm16 or the format's own codec. A WAV
that grows beyond 4 GiB becomes RF64. Integers are rounded without dither and clamped to full
scale; a line on standard error says how many samples that clipped, and -q leaves it out.

Several INs, a folder, a list (--files-from) and a share of them (--shard) go to the folder OUT, where they
keep the tree below the folder, or the list's paths. Each output appears whole. A file that fails is named
and the others go on; the exit code is then 1. Ctrl-C ends it, and --skip-done goes on from there.

A pipe carries WAV, AIFF, AU, Ogg, MP3 or raw floats in, and WAV or raw floats out.

An existing OUT is replaced only with -y by a command that is typed at a terminal, in a pipeline or with
redirections, too; one that a script, $(...), find, xargs or another program starts replaces it.

A value is 0 to 1, or has a unit: +60% of stereo width, L30 of panorama, 5ms or 220samples of phase
shift, -6dB of volume. A switch may be followed by on, off, yes, no, 1 or 0; a file of that name is ./on.

Settings hold from the first frame on; width, panorama and volume glide to a new value in 16 blocks. An
automation file has an event a line, # starts a comment, and each event takes effect on its exact frame:

    4410    set stereo-width 0.8     a time in frames,
    0.1s    set bypass on            in seconds,
    1:02.5  midi B0 0B 40            or in minutes and seconds

A MIDI file's control changes of volume (7), panorama (10) and width (11), on any channel, take effect on
the frame nearest to their time by the file's own tempo changes; frame 0 is its start. With --automation,
too, the automation's events come first on a frame that both have.

Timing. The effect gives a processed frame back 2048 frames late, a bypassed one at once. OUT makes up
for that: every frame, processed or bypassed, stands where its input frame stood, and OUT is as long as
IN. When bypass goes on, what the effect still holds is put out first; when it goes off, the effect
starts with an empty store. A host that plays in real time can do neither: there a change of bypass
jumps by 2048 frames. --raw-timing writes that: what the render calls return, frame for frame.
)";

/// The command line, before it is checked.
struct Options {
    RenderJob job;
    std::vector<std::string> paths;  // the last is OUT
    BatchOptions batch;
    std::string preset, block, rawRate;
    bool skipDone = false;
    bool isRawTiming = false;
    bool overwrites = false;
    bool progress = false;
    bool noProgress = false;
    bool diagnostics = false;
};

void declare(OptionParser& parser, Options& options) {
    auto& job = options.job;
    parser.addArguments("IN... OUT", options.paths,
                        "sound files, stereo, or folders; then the file or the folder to write; - "
                        "for standard input and output");
    parser.addParameters(job.values, false);
    parser.addOption("--preset", options.preset,
                     "preset, before the options above; kelvane presets lists them", "NAME|FILE");
    parser.addOption("--automation", job.automation, "file of timed events", "FILE");
    parser.addOption("--midi", job.midi, "MIDI file whose controllers 7, 10 and 11 are played",
                     "FILE");
    parser.addOption("--format", job.format, "OUT's format, whatever its ending", "NAME");
    parser.addOption("--subtype", job.subtype, "OUT's samples: float, pcm16, pcm24, ...", "NAME");
    parser.addOption("--raw", options.rawRate, "- is raw stereo float, little-endian, at this rate",
                     "RATE");
    parser.addOption("--block", options.block, "frames of a render call (512)", "1..1024");
    options.batch.declare(parser);
    parser.addSwitch("--skip-done", options.skipDone, "leave out files whose output exists");
    parser.addSwitch("--raw-timing", options.isRawTiming,
                     "write what the render calls return, 2048 frames late");
    parser.addSwitch("--upmix", job.upmix, "take a mono input, too");
    parser.addSwitch("--salvage", job.salvage,
                     "render what is there of a recording that was never finished or was cut off");
    parser.addSwitch("-y,--overwrite", options.overwrites,
                     "replace an existing OUT when typed at a terminal, too");
    parser.addSwitch("-q,--quiet", job.isQuiet, "print no notes, such as that of clipped samples");
    parser.addSwitch("--progress", options.progress,
                     "show progress even where standard error is no terminal");
    parser.addSwitch("--no-progress", options.noProgress, "never show progress");
    parser.addSwitch("--diagnostics", options.diagnostics, "show the effect's console lines");
}

/// Whether a user typed the command at a terminal: an interactive shell gives each pipeline a
/// process group of its own, a script leaves its commands in its own group. Of other programs that
/// make groups only those count that put them in the terminal's foreground.
bool isTypedAtTerminal() {
    const int terminal = open("/dev/tty", O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (terminal < 0) return false;
    const pid_t foreground = tcgetpgrp(terminal);
    close(terminal);
    const bool isOfTheSessionsShell = getppid() == getsid(0);  // in the background, too
    return getpgid(getppid()) != getpgrp() && (foreground == getpgrp() || isOfTheSessionsShell);
}

bool isExistingFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Turns the texts into values. Throws Failure (2) for a wrong one.
void complete(Options& options) {
    auto& job = options.job;
    if (!options.preset.empty()) job.preset = PresetChoice::parse(options.preset);
    // Reports a wrong value before any file is opened; the rate of the input is not known yet, so
    // makeEffect() reads them again.
    static_cast<void>(parseSettings(job.values, highestRate));
    if (!job.format.empty() && soundFormat::containerNamed(job.format) == 0)
        throw Failure(
            fmt::format("--format {}: not a format; take wav, flac, aiff, w64, rf64, caf, "
                        "au, ogg, opus or mp3",
                        job.format),
            2);
    if (!job.subtype.empty()) static_cast<void>(soundFormat::subtypeNamed(job.subtype));
    if (!options.block.empty())
        job.block = static_cast<std::uint32_t>(
            parseNumber("--block", options.block, std::int64_t{1}, Renderer::maximumBlock));
    if (!options.rawRate.empty()) {
        job.rawRate =
            static_cast<int>(parseNumber("--raw", options.rawRate, std::int64_t{1}, highestRate));
        if (job.input != "-" && job.output != "-")
            throw Failure("--raw: is for standard input and output; neither IN nor OUT is -", 2);
    }
    options.overwrites = options.overwrites || !isTypedAtTerminal();
    if (!options.overwrites && isExistingFile(job.output) && !options.skipDone)
        throw Failure(fmt::format("{}: exists; -y (--overwrite) replaces it", job.output));
    job.timing = options.isRawTiming ? Timing::raw : Timing::aligned;
    job.showProgress = !options.noProgress && (options.progress || isatty(STDERR_FILENO) != 0);
}

void showDiagnostics(bool onStandardError) {
    platform::console::setSink([onStandardError](std::string_view line) {
        std::FILE* const stream = onStandardError ? stderr : stdout;
        fmt::print(stream, "{}\n", line);
        std::fflush(stream);
    });
}

}  // namespace

int runRender(const Arguments& arguments) {
    OptionParser parser("kelvane render", "Renders a sound file through the effect.", renderHelp);
    Options options;
    declare(parser, options);
    if (const auto code = parser.parse(arguments)) return *code;
    auto& job = options.job;
    if (options.paths.empty()) throw parser.missing("IN");
    if (options.paths.size() == 1 && options.batch.filesFrom.empty()) throw parser.missing("OUT");
    job.output = options.paths.back();
    options.paths.pop_back();
    const bool isBatch = options.batch.areMany(options.paths) || isFolder(job.output);
    if (!isBatch) job.input = options.paths[0];
    complete(options);
    if (options.diagnostics) showDiagnostics(job.output == "-");
    if (isBatch)
        return renderBatch({job, options.batch.inputsFor(options.paths, job.output), job.output,
                            options.batch.workers(), options.skipDone, options.overwrites});
    if (!options.skipDone || !isExistingFile(job.output)) renderFile(job);
    return 0;
}

}  // namespace qov::cli
