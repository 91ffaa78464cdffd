#include "hosts/cli/renderFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/MidiFile.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/Progress.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/cli/SoundWriter.h"
#include "hosts/instance/Instance.h"
#include "hosts/output/OutputPlace.h"
#include "hosts/window/makeInstance.h"
#include "platform/foundation/NSError.h"

namespace qov::cli {

using platform::AURenderEvent;

namespace {

/// Frames that are copied at a time.
constexpr std::uint32_t chunkFrames = 8192;

SoundWriter::Shape shapeOf(const RenderJob& job, const OutputPlace& place,
                           const SoundReader& reader) {
    const int rate = reader.rate();
    const auto frames = reader.frames();
    if (job.rawRate && place.isStream()) {
        if (*job.rawRate != rate)
            throw Failure(fmt::format("--raw {}: {} is at {} Hz, and kelvane does not resample",
                                      *job.rawRate, job.input, rate),
                          2);
        return {SF_FORMAT_RAW, SF_FORMAT_FLOAT, rate, frames, true};
    }
    int format = SF_FORMAT_WAV;
    if (!job.format.empty())
        format = soundFormat::containerNamed(job.format);
    else if (!place.isStream())
        format = soundFormat::containerOf(job.output);
    const int container = format & SF_FORMAT_TYPEMASK;
    if (place.isStream() && container != SF_FORMAT_WAV)
        throw Failure(fmt::format("{}: takes wav, or raw floats with --raw; {} needs a file",
                                  place.name(), soundFormat::nameOf(container)),
                      2);
    int subtype = format & SF_FORMAT_SUBMASK;
    if (!job.subtype.empty())
        subtype = soundFormat::subtypeNamed(job.subtype);
    else if (subtype == 0)
        subtype = soundFormat::subtypeFor(container, reader.format(), rate);
    if (!soundFormat::isWritable(container, subtype, rate))
        throw Failure(fmt::format("{}: {} files don't take {} samples in stereo at {} Hz",
                                  place.name(), soundFormat::nameOf(container),
                                  soundFormat::nameOf(subtype), rate));
    if (place.isStream() && subtype != SF_FORMAT_FLOAT && subtype != SF_FORMAT_DOUBLE &&
        soundFormat::bitsOf(subtype) == 0)
        throw Failure(fmt::format("{}: takes plain samples; {} needs a file", place.name(),
                                  soundFormat::nameOf(subtype)),
                      2);
    return {container, subtype, rate, frames};
}

template <typename Sample>
void copyFrames(SoundReader& reader, SoundWriter& writer, Progress& progress) {
    std::vector<Sample> samples(std::size_t{2} * chunkFrames);
    std::uint32_t frames = 0;
    do {
        frames = reader.readFrames(samples.data(), chunkFrames);
        writer.writeFrames(samples.data(), frames);
        progress.advance(frames);
    } while (frames == chunkFrames);
}

/// Copies samples exactly. False, and nothing is copied, where the output's subtype cannot.
bool copyExactly(SoundReader& reader, SoundWriter& writer, int subtype, Progress& progress) {
    using soundFormat::Carrier;
    const auto from = soundFormat::carrierOf(reader.format());
    if (from == Carrier::doubles && subtype == SF_FORMAT_DOUBLE) {
        copyFrames<double>(reader, writer, progress);
        return true;
    }
    if (from == Carrier::floats && subtype == SF_FORMAT_FLOAT) {
        copyFrames<float>(reader, writer, progress);
        return true;
    }
    if (from == Carrier::integers &&
        soundFormat::bitsOf(subtype) >= soundFormat::bitsOf(reader.format())) {
        copyFrames<std::int32_t>(reader, writer, progress);
        return true;
    }
    return false;
}

/// A new effect with the job's preset and settings, active. As in every host the view controller
/// is the audio unit's factory; without a screen its view is not loaded.
std::unique_ptr<hosts::Instance> makeEffect(const RenderJob& job, double rate) {
    std::string error;
    auto effect = hosts::makeInstance({}, &error);
    if (!effect) throw Failure(error);
    platform::NSError reason;
    if (!effect->activate(rate, job.block, &reason))
        throw Failure(fmt::format("the effect does not run at {} Hz: {}", rate,
                                  reason.localizedDescription()));
    if (job.preset) job.preset->select(*effect, rate);
    effect->begin({}, {}, 0);
    for (const auto& [address, value] : parseSettings(job.values, rate))
        effect->set(0, address, value);
    effect->end();
    return effect;
}

/// Copies the input's bytes after it was read to its end, which throws Failure for a damaged one.
void copyFile(SoundReader& reader, const OutputPlace& place, Progress& progress) {
    std::vector<float> samples(std::size_t{2} * chunkFrames);
    std::uint32_t frames = 0;
    do {
        frames = reader.readFrames(samples.data(), chunkFrames);
        progress.advance(frames);
    } while (frames == chunkFrames);
    reader.copyBytes([&](std::string_view bytes) { place.write(bytes); });
}

void process(const RenderJob& job, hosts::Instance& effect, std::vector<AURenderEvent> events,
             SoundReader& reader, SoundWriter& writer, Progress& progress) {
    Renderer renderer(effect, std::move(events), job.block, job.timing,
                      [&](const float* left, const float* right, std::uint32_t frames) {
                          writer.write(left, right, frames);
                      });
    std::vector<float> left(job.block);
    std::vector<float> right(job.block);
    std::uint32_t frames = 0;
    do {
        frames = reader.read(left.data(), right.data(), job.block);
        renderer.process(left.data(), right.data(), frames);
        progress.advance(frames);
    } while (frames == job.block);
    renderer.finish();
}

/// Of the automation and the MIDI file; on one frame, those of the automation come first.
std::vector<AURenderEvent> eventsOf(const RenderJob& job, std::int64_t rate) {
    std::vector<AURenderEvent> events;
    if (!job.automation.empty()) events = readAutomation(job.automation, static_cast<double>(rate));
    if (!job.midi.empty()) {
        const auto played = midiAutomation(readMidiFile(job.midi), rate);
        events.insert(events.end(), played.begin(), played.end());
        std::ranges::stable_sort(events, {}, [](const auto& e) { return e.head.eventSampleTime; });
    }
    return events;
}

void noteClipping(const OutputPlace& place, const SoundWriter::Shape& shape,
                  const SoundWriter::Clipping& clipping) {
    if (clipping.samples == 0) return;
    const bool takesFloat = soundFormat::isWritable(shape.container, SF_FORMAT_FLOAT, shape.rate);
    fmt::print(stderr, "kelvane: {}: {} {} clipped, peak {:+.1f} dBFS; {} them\n", place.name(),
               fmt::group_digits(clipping.samples), clipping.samples == 1 ? "sample" : "samples",
               20 * std::log10(clipping.peak),
               takesFloat ? "--subtype float keeps" : "a wav with --subtype float keeps");
}

}  // namespace

void renderFile(const RenderJob& job) {
    if (job.input != "-" && job.output != "-" && hosts::isSameFile(job.input, job.output))
        throw Failure(fmt::format("{}: is the input, too; write to another file", job.output), 2);
    for (const auto& [path, role] :
         {std::pair{job.automation, "automation"}, {job.midi, "MIDI file"}})
        if (!path.empty() && hosts::isSameFile(path, job.output))
            throw Failure(
                fmt::format("{}: is the {}, too; write to another file", job.output, role), 2);
    SoundReader reader(job.input,
                       {job.input == "-" ? job.rawRate : std::nullopt, job.upmix, job.salvage});
    auto events = eventsOf(job, reader.rate());
    const auto effect = makeEffect(job, reader.rate());

    OutputPlace place(job.output);
    const auto shape = shapeOf(job, place, reader);
    const int format = shape.container | shape.subtype;
    const auto metadata = reader.metadata();
    std::optional<Progress> progress;
    progress.emplace(job.showProgress, reader.frames(), reader.rate());
    const auto length = reader.frames().value_or(std::numeric_limits<std::int64_t>::max());
    const bool isCopied = isBypassedThroughout(effect->latency() == 0, events, length);
    SoundWriter::Clipping clipping;
    const bool isSameBytes = isCopied && !place.isStream() && reader.isFileOf(format);
    if (isSameBytes) {
        copyFile(reader, place, *progress);
    } else {
        SoundWriter writer(place, shape, metadata);
        if (!isCopied || !copyExactly(reader, writer, shape.subtype, *progress))
            process(job, *effect, std::move(events), reader, writer, *progress);
        writer.close();
        clipping = writer.clipping();
    }
    place.commit();
    progress.reset();  // erases its line
    if (!job.isQuiet && reader.isDamaged())
        fmt::print(stderr, "kelvane: {}: is damaged; the {} frames that are there were rendered\n",
                   job.input, fmt::group_digits(reader.framesRead()));
    if (!job.isQuiet) noteClipping(place, shape, clipping);
    if (!job.isQuiet && !isSameBytes && !shape.isRaw)
        if (const auto lost = metadata.lostIn(format); !lost.empty())
            fmt::print(stderr, "kelvane: {}: kelvane writes no {} into {}\n", place.name(),
                       fmt::join(lost, ", "), soundFormat::nameOf(shape.container));
}

}  // namespace qov::cli
