#include "hosts/cli/SoundWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/cli/VirtualFile.h"
#include "hosts/cli/fileBytes.h"
#include "hosts/cli/soundChunks.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

constexpr std::uint32_t bufferFrames = 8192;
/// Files may be larger only with sizes of 64 bits in the header.
constexpr std::int64_t largestWav = 0xFFF00000;
/// A descriptor that cannot seek, as a virtual file of libsndfile; written at once, as its reader
/// may be waiting.
struct Stream {
    int descriptor;
    std::int64_t bytes = 0;
    int error = 0;

    static sf_count_t length(void* self) { return tell(self); }
    static sf_count_t tell(void* self) { return static_cast<Stream*>(self)->bytes; }
    static sf_count_t seek(sf_count_t, int, void* self) { return tell(self); }
    static sf_count_t read(void*, sf_count_t, void*) { return 0; }
    static sf_count_t write(const void* from, sf_count_t count, void* self) {
        auto& stream = *static_cast<Stream*>(self);
        if (!hosts::writeFully(stream.descriptor, from, static_cast<std::size_t>(count))) {
            stream.error = errno;
            return 0;
        }
        stream.bytes += count;
        return count;
    }
};

/// Bytes of a sample of a subtype that stores each by itself.
int sampleBytes(int subtype) {
    if (subtype == SF_FORMAT_DOUBLE) return 8;
    if (subtype == SF_FORMAT_ULAW || subtype == SF_FORMAT_ALAW) return 1;
    const int bits = soundFormat::bitsOf(subtype);
    return bits > 0 ? bits / 8 : 4;
}

/// Clears the time of day in an RF64's peak chunk, which the library writes there unasked.
void clearPeakTime(int descriptor) {
    constexpr std::int64_t timeInChunk = 4;
    const auto chunks = readSoundChunks(descriptor);
    if (!chunks) return;
    for (const auto& chunk : chunks->others)
        if (chunk.identifier == "PEAK") {
            constexpr std::array<char, 4> never{};
            [[maybe_unused]] const auto written =
                pwrite(descriptor, never.data(), never.size(), chunk.start + timeInChunk);
        }
}

/// The header of a WAV stream up to its samples.
std::string wavHeader(const SoundWriter::Shape& shape, const Metadata& metadata) {
    const auto number = [](std::int64_t value, int bytes) {
        return bytesOf(static_cast<std::uint64_t>(value), bytes, std::endian::little);
    };
    const int bytes = sampleBytes(shape.subtype);
    constexpr int channels = 2, integer = 1, floating = 3, alaw = 6, ulaw = 7;
    const int codec = shape.subtype == SF_FORMAT_ULAW          ? ulaw
                      : shape.subtype == SF_FORMAT_ALAW        ? alaw
                      : soundFormat::bitsOf(shape.subtype) > 0 ? integer
                                                               : floating;
    const bool isExtended = codec == alaw || codec == ulaw;
    auto chunks = "fmt " + number(isExtended ? 18 : 16, 4) + number(codec, 2) +
                  number(channels, 2) + number(shape.rate, 4) +
                  number(std::int64_t{shape.rate} * channels * bytes, 4) +
                  number(channels * bytes, 2) + number(8 * bytes, 2) +
                  (isExtended ? number(0, 2) : std::string());
    const auto more = metadata.wavChunks();
    constexpr std::int64_t headers = 12 + 8 + 12;  // RIFF, data and fact
    const auto samples = shape.frames.value_or(largestWav) * channels * bytes;
    const auto begin = std::ssize(chunks) + std::ssize(more) + headers;
    const bool isKnown = shape.frames && begin + samples < largestWav;
    if (codec != integer) chunks += "fact" + number(4, 4) + number(isKnown ? *shape.frames : -1, 4);
    chunks += more + "data" + number(isKnown ? samples : -1, 4);
    return "RIFF" + number(isKnown ? 4 + std::ssize(chunks) + samples : -1, 4) + "WAVE" + chunks;
}

}  // namespace

struct SoundWriter::State {
    State(const OutputPlace& outputPlace, const Shape& shape, const Metadata& inputMetadata)
        : place(outputPlace),
          metadata(inputMetadata),
          format(shape.container | shape.subtype),
          stream{outputPlace.descriptor()},
          bits(soundFormat::bitsOf(shape.subtype)) {
        // Of the formats with sizes of 32 bits, WAV has a larger sister and AU may leave them open.
        if (shape.container == SF_FORMAT_AIFF)
            mostFrames = largestWav / (2 * sampleBytes(shape.subtype));
        requireRoomFor(shape.frames.value_or(0));
    }

    ~State() {
        if (file) sf_close(file);
    }

    void openStream(const Shape& shape) {
        if (!shape.isRaw) {
            const auto header = wavHeader(shape, metadata);
            if (!hosts::writeFully(stream.descriptor, header.data(), header.size())) fail();
        }
        SF_VIRTUAL_IO io{Stream::length, Stream::seek, Stream::read, Stream::write, Stream::tell};
        SF_INFO info{};
        info.samplerate = shape.rate;
        info.channels = 2;
        info.format = SF_FORMAT_RAW | shape.subtype | SF_ENDIAN_LITTLE;
        file = sf_open_virtual(&io, SFM_WRITE, &info, &stream);
    }

    void openFile(const Shape& shape) {
        SF_INFO info{};
        info.samplerate = shape.rate;
        info.channels = 2;
        info.format = shape.container | shape.subtype;
        const bool mayGrow = shape.container == SF_FORMAT_WAV &&
                             shape.frames.value_or(largestWav) * 16 >= largestWav;
        if (mayGrow) info.format = SF_FORMAT_RF64 | shape.subtype;
        isRf64 = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RF64;
        file = regular.emplace(place.descriptor()).open(SFM_WRITE, &info);
        if (!file) return;
        if (mayGrow) sf_command(file, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
        // The peak chunk holds the time of day: the same input would give another file every
        // second.
        sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
        metadata.setStrings(file, shape.container);
    }

    void requireRoomFor(std::int64_t frames) const {
        if (frames > mostFrames)
            throw Failure(
                fmt::format("{}: aiff files end at 4 GiB, and this sound does not; take "
                            "wav, w64, rf64 or caf",
                            place.name()));
    }

    template <typename Sample>
    void writeWith(sf_count_t (*writef)(SNDFILE*, const Sample*, sf_count_t), const Sample* samples,
                   std::uint32_t frames) {
        written += frames;
        requireRoomFor(written);
        errno = 0;
        if (writef(file, samples, frames) < frames) fail();
    }

    /// For libsndfile, which takes an integer in the upper bits of its type. Real: has a bit for
    /// each of the integers and one more.
    template <typename Real, typename Integer>
    void quantise(const float* left, const float* right, std::uint32_t count, Integer* to) const {
        const auto scale = static_cast<Real>(std::ldexp(1.0, bits - 1));
        const auto step = static_cast<Real>(std::ldexp(1.0, 8 * int{sizeof(Integer)} - bits));
        // Added to a smaller number and taken away again, it rounds to the nearest integer, half to
        // even, as std::nearbyint does, which is a call where the processor is not known to have
        // SSE4.1.
        const Real shift = 3 / std::numeric_limits<Real>::epsilon() / 2;
        const auto integerOf = [&](float sample) {
            const Real value = static_cast<Real>(sample) * scale;
            const Real number = std::isnan(value) ? 0 : value;
            const Real held = number > scale - 1 ? scale - 1 : number < -scale ? -scale : number;
            return static_cast<Integer>(static_cast<std::int32_t>((held + shift - shift) * step));
        };
        for (std::size_t i = 0; i < count; ++i) {
            to[2 * i] = integerOf(left[i]);
            to[2 * i + 1] = integerOf(right[i]);
        }
    }

    void noteClipping(const float* samples, std::uint32_t count) {
        unsigned isAny = 0;  // without a branch, as it is rare
        for (std::uint32_t i = 0; i < count; ++i) isAny |= std::abs(samples[i]) > 1.0F ? 1U : 0U;
        for (std::uint32_t i = 0; i < count && isAny != 0; ++i)
            if (const float magnitude = std::abs(samples[i]); magnitude > 1.0F) {
                ++clipping.samples;
                clipping.peak = std::max(clipping.peak, magnitude);
            }
    }

    /// Puts frames behind those that are pending.
    void append(const float* left, const float* right, std::uint32_t count) {
        const auto begin = std::size_t{2} * pending;
        pending += count;
        if (floats.empty()) {
            noteClipping(left, count);
            noteClipping(right, count);
        }
        if (!shorts.empty()) return quantise<float>(left, right, count, &shorts[begin]);
        if (!integers.empty()) return quantise<double>(left, right, count, &integers[begin]);
        for (std::size_t i = 0; i < count; ++i) {
            floats[begin + 2 * i] = left[i];
            floats[begin + 2 * i + 1] = right[i];
        }
    }

    void flush() {
        if (pending == 0) return;
        if (!shorts.empty())
            writeWith(sf_writef_short, shorts.data(), pending);
        else if (!integers.empty())
            writeWith(sf_writef_int, integers.data(), pending);
        else
            writeWith(sf_writef_float, floats.data(), pending);
        pending = 0;
    }

    int error() const { return regular ? regular->error() : stream.error; }

    [[noreturn]] void fail() const {
        const int error = this->error() != 0 ? this->error() : errno;
        if (error != 0) place.failToWrite(error);
        throw Failure(fmt::format("{}: cannot write: {}", place.name(), sf_strerror(file)));
    }

    const OutputPlace& place;
    const Metadata metadata;
    const int format;
    Stream stream;
    std::optional<VirtualFile> regular;  ///< of a file
    SNDFILE* file = nullptr;
    bool isRf64 = false;
    std::int64_t mostFrames = std::numeric_limits<std::int64_t>::max();
    std::int64_t written = 0;  ///< frames
    const int bits;            ///< 0: written as floats
    Clipping clipping;
    std::uint32_t pending = 0;
    std::vector<std::int16_t> shorts;  ///< one of these holds the pending frames
    std::vector<std::int32_t> integers;
    std::vector<float> floats;
};

SoundWriter::SoundWriter(const OutputPlace& place, const Shape& shape, const Metadata& metadata)
    : state_(std::make_unique<State>(place, shape, metadata)) {
    auto& state = *state_;
    if (place.isStream())
        state.openStream(shape);
    else
        state.openFile(shape);
    if (!state.file)
        throw Failure(fmt::format("{}: cannot write {} with {}: {}", place.name(),
                                  soundFormat::nameOf(shape.container),
                                  soundFormat::nameOf(shape.subtype), sf_strerror(nullptr)));
    if (shape.subtype == SF_FORMAT_PCM_16)
        state.shorts.resize(2 * bufferFrames);
    else if (state.bits > 0)
        state.integers.resize(2 * bufferFrames);
    else
        state.floats.resize(2 * bufferFrames);
}

SoundWriter::~SoundWriter() = default;

void SoundWriter::write(const float* left, const float* right, std::uint32_t frames) {
    auto& state = *state_;
    while (frames > 0) {
        const auto count = std::min(frames, bufferFrames - state.pending);
        state.append(left, right, count);
        left += count;
        right += count;
        frames -= count;
        if (state.pending == bufferFrames) state.flush();
    }
}

void SoundWriter::writeFrames(const std::int32_t* samples, std::uint32_t frames) {
    state_->writeWith(sf_writef_int, samples, frames);
}

void SoundWriter::writeFrames(const float* samples, std::uint32_t frames) {
    state_->writeWith(sf_writef_float, samples, frames);
}

void SoundWriter::writeFrames(const double* samples, std::uint32_t frames) {
    state_->writeWith(sf_writef_double, samples, frames);
}

SoundWriter::Clipping SoundWriter::clipping() const {
    return state_->clipping;
}

void SoundWriter::close() {
    auto& state = *state_;
    state.flush();
    errno = 0;
    const bool hasFailed = sf_error(state.file) != SF_ERR_NO_ERROR;
    SNDFILE* const file = std::exchange(state.file, nullptr);
    const bool isClosed = sf_close(file) == 0;
    if (state.regular) state.regular->flush();
    if (!isClosed || hasFailed || state.error() != 0) state.fail();
    if (state.isRf64) clearPeakTime(state.place.descriptor());
    if (!state.place.isStream()) state.metadata.addTo(state.place, state.format);
}

}  // namespace qov::cli
