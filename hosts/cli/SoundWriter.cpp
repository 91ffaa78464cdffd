#include "hosts/cli/SoundWriter.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

constexpr std::uint32_t bufferFrames = 8192;
/// From here on the sizes in a header of 32 bits might not hold.
constexpr std::int64_t largestWav = 0xFFF00000;
/// The size in a header whose length is unknown.
constexpr std::uint32_t unknownLength = 0xFFFFFFFF;

/// A descriptor that can't go back, as the sound file library's virtual file.
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

/// A file in memory; only a header is ever written into it.
struct Memory {
    std::vector<char> bytes;
    std::size_t position = 0;

    static sf_count_t length(void* self) { return std::ssize(static_cast<Memory*>(self)->bytes); }
    static sf_count_t tell(void* self) {
        return static_cast<sf_count_t>(static_cast<Memory*>(self)->position);
    }
    static sf_count_t seek(sf_count_t offset, int whence, void* self) {
        const auto from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? tell(self) : length(self);
        static_cast<Memory*>(self)->position = static_cast<std::size_t>(from + offset);
        return tell(self);
    }
    static sf_count_t read(void* to, sf_count_t count, void* self) {
        auto& memory = *static_cast<Memory*>(self);
        const auto left = memory.bytes.size() - std::min(memory.position, memory.bytes.size());
        const auto n = std::min(static_cast<std::size_t>(count), left);
        if (n > 0) std::memcpy(to, memory.bytes.data() + memory.position, n);
        memory.position += n;
        return static_cast<sf_count_t>(n);
    }
    static sf_count_t write(const void* from, sf_count_t count, void* self) {
        auto& memory = *static_cast<Memory*>(self);
        const auto end = memory.position + static_cast<std::size_t>(count);
        if (memory.bytes.size() < end) memory.bytes.resize(end);
        if (count > 0)
            std::memcpy(memory.bytes.data() + memory.position, from,
                        static_cast<std::size_t>(count));
        memory.position = end;
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

void putLittleEndian(std::vector<char>& bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> (8 * i));
}

/// Takes the time of day out of an RF64's peak chunk, which the library writes there unasked.
void clearPeakTime(int descriptor) {
    constexpr std::size_t firstChunk = 12;
    constexpr std::size_t timeInChunk = 12;
    std::array<char, 4096> header{};
    const auto length = pread(descriptor, header.data(), header.size(), 0);
    const std::string_view bytes(header.data(),
                                 static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    for (std::size_t at = firstChunk; at + 16 <= bytes.size() && bytes.substr(at, 4) != "data";) {
        constexpr std::array<char, 4> never{};
        if (bytes.substr(at, 4) == "PEAK" && pwrite(descriptor, never.data(), never.size(),
                                                    static_cast<off_t>(at + timeInChunk)) < 0)
            return;
        std::uint32_t size = 0;
        for (std::size_t i = 4; i-- > 0;)
            size = size << 8 | static_cast<unsigned char>(bytes[at + 4 + i]);
        at += 8 + std::size_t{size} + size % 2;
    }
}

void prepare(SNDFILE* file, const Metadata& metadata, int container) {
    // The peak chunk holds the time of day: the same input would give another file every second.
    sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    metadata.setStrings(file, container);
}

/// The header of a WAV stream: made by the library for an empty file, with the sizes put in
/// afterwards.
std::vector<char> wavHeader(const SoundWriter::Shape& shape, const Metadata& metadata) {
    Memory memory;
    SF_VIRTUAL_IO io{Memory::length, Memory::seek, Memory::read, Memory::write, Memory::tell};
    SF_INFO info{};
    info.samplerate = shape.rate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | shape.subtype;
    SNDFILE* const file = sf_open_virtual(&io, SFM_WRITE, &info, &memory);
    if (!file) throw Failure(fmt::format("cannot make a WAV header: {}", sf_strerror(nullptr)));
    prepare(file, metadata, SF_FORMAT_WAV);
    sf_command(file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    auto header = memory.bytes;
    sf_close(file);
    constexpr int dataHeader = 8;
    const auto chunks = metadata.wavChunks();
    header.insert(header.end() - dataHeader, chunks.begin(), chunks.end());

    const std::int64_t dataBytes =
        shape.frames.value_or(largestWav) * 2 * sampleBytes(shape.subtype);
    const bool isKnown = shape.frames && dataBytes + std::ssize(header) < largestWav;
    const auto orUnknown = [&](std::int64_t value) {
        return isKnown ? static_cast<std::uint32_t>(value) : unknownLength;
    };
    putLittleEndian(header, 4, orUnknown(std::ssize(header) - 8 + dataBytes));
    putLittleEndian(header, header.size() - 4, orUnknown(dataBytes));
    constexpr std::string_view fact("fact\4\0\0\0", 8);
    const auto at = std::search(header.begin(), header.end(), fact.begin(), fact.end());
    if (at != header.end())
        putLittleEndian(header, static_cast<std::size_t>(at - header.begin()) + fact.size(),
                        orUnknown(shape.frames.value_or(0)));
    return header;
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
            if (Stream::write(header.data(), std::ssize(header), &stream) < std::ssize(header))
                fail();
            stream.bytes = 0;
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
        prepare(file, metadata, shape.container);
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
        const double held = std::clamp(std::nearbyint(value), -fullScale, fullScale - 1);
        return static_cast<std::int32_t>(held * step);
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
