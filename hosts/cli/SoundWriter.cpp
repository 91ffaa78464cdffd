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
#include "hosts/cli/fileBytes.h"
#include "hosts/cli/soundChunks.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

constexpr std::uint32_t bufferFrames = 8192;
/// Files may be larger only with sizes of 64 bits in the header.
constexpr std::int64_t largestWav = 0xFFF00000;
/// Added to a double below 2^51 and taken away again, it rounds to the nearest integer, half to
/// even, as std::nearbyint does, which is a call where the processor is not known to have SSE4.1.
constexpr double roundingShift = 0x1.8p52;

/// A descriptor that cannot seek, as a virtual file of libsndfile.
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
        file = sf_open_fd(place.descriptor(), SFM_WRITE, &info, SF_FALSE);
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

    /// In the upper bits of 32, where libsndfile takes it.
    std::int32_t quantised(float sample) {
        if (const float magnitude = std::abs(sample); magnitude > 1.0F) {
            ++clipping.samples;
            clipping.peak = std::max(clipping.peak, magnitude);
        }
        const double value = std::isnan(sample) ? 0 : static_cast<double>(sample) * fullScale;
        const double held = std::clamp(value, -fullScale, fullScale - 1);
        return static_cast<std::int32_t>((held + roundingShift - roundingShift) * step);
    }

    void flush() {
        if (pending == 0) return;
        if (bits > 0)
            writeWith(sf_writef_int, integers.data(), pending);
        else
            writeWith(sf_writef_float, floats.data(), pending);
        pending = 0;
    }

    [[noreturn]] void fail() const {
        const int error = stream.error != 0 ? stream.error : errno;
        if (error != 0) place.failToWrite(error);
        throw Failure(fmt::format("{}: cannot write: {}", place.name(), sf_strerror(file)));
    }

    const OutputPlace& place;
    const Metadata metadata;
    const int format;
    Stream stream;
    SNDFILE* file = nullptr;
    bool isRf64 = false;
    std::int64_t mostFrames = std::numeric_limits<std::int64_t>::max();
    std::int64_t written = 0;  ///< frames
    const int bits;            ///< 0: written as floats
    const double fullScale = std::ldexp(1.0, bits - 1);
    const double step = std::ldexp(1.0, 32 - bits);
    Clipping clipping;
    std::uint32_t pending = 0;
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
    if (state.bits > 0)
        state.integers.resize(2 * bufferFrames);
    else
        state.floats.resize(2 * bufferFrames);
}

SoundWriter::~SoundWriter() = default;

void SoundWriter::write(const float* left, const float* right, std::uint32_t frames) {
    auto& state = *state_;
    while (frames > 0) {
        const auto count = std::min(frames, bufferFrames - state.pending);
        const auto begin = std::size_t{2} * state.pending;
        if (state.bits > 0) {
            std::int32_t* const to = &state.integers[begin];
            for (std::size_t i = 0; i < count; ++i) {
                to[2 * i] = state.quantised(left[i]);
                to[2 * i + 1] = state.quantised(right[i]);
            }
        } else {
            float* const to = &state.floats[begin];
            for (std::size_t i = 0; i < count; ++i) {
                to[2 * i] = left[i];
                to[2 * i + 1] = right[i];
            }
        }
        state.pending += count;
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
    if (sf_close(file) != 0 || hasFailed || state.stream.error != 0) state.fail();
    if (state.isRf64) clearPeakTime(state.place.descriptor());
    if (!state.place.isStream()) state.metadata.addTo(state.place, state.format);
}

}  // namespace qov::cli
