#include "hosts/cli/SoundReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string_view>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/cli/VirtualFile.h"
#include "hosts/cli/fileBytes.h"
#include "hosts/cli/soundChunks.h"

namespace qov::cli {
namespace {

constexpr int maximumChannels = 2;
constexpr std::uint32_t refillFrames = 8192;
/// Containers whose samples and end libsndfile finds without seeking.
constexpr std::array pipeContainers{SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF,
                                    SF_FORMAT_AU,  SF_FORMAT_OGG,   SF_FORMAT_MPEG};
constexpr auto pipeAdvice =
    "a pipe takes WAV, AIFF, AU, Ogg, MP3 or raw floats: flac -dc in.flac | kelvane render - "
    "out.wav";

/// Standard input as the sound file library's virtual file: no length, no way back.
struct StandardInput {
    std::int64_t bytes = 0;  ///< read so far
    int error = 0;           ///< errno of a failed read

    static sf_count_t length(void*) { return std::numeric_limits<sf_count_t>::max(); }
    static sf_count_t tell(void* self) { return static_cast<StandardInput*>(self)->bytes; }
    static sf_count_t seek(sf_count_t, int, void* self) { return tell(self); }
    static sf_count_t write(const void*, sf_count_t, void*) { return 0; }
    static sf_count_t read(void* to, sf_count_t count, void* self) {
        auto& input = *static_cast<StandardInput*>(self);
        const auto wanted = static_cast<std::size_t>(std::max<sf_count_t>(count, 0));
        const auto done = readFully(STDIN_FILENO, to, wanted);
        if (done < wanted && errno != 0) input.error = errno;
        input.bytes += static_cast<std::int64_t>(done);
        return static_cast<sf_count_t>(done);
    }
};

/// What libsndfile cannot open: a CAF file of plain samples whose header gives no length.
SF_INFO describeCaf(int descriptor) {
    const auto header = readAt(descriptor, 0, 52);
    const std::string_view text = header;
    SF_INFO info{};
    if (text.size() < 52 || !text.starts_with("caff") || text.substr(8, 4) != "desc" ||
        text.substr(28, 4) != "lpcm")
        return info;
    const auto number = [&](std::size_t at, int bytes) {
        return numberAt(text, at, bytes, std::endian::big);
    };
    const auto rate = std::bit_cast<double>(number(20, 8));
    const auto flags = number(32, 4);
    const auto bits = number(48, 4);
    constexpr std::array integers{SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                                  SF_FORMAT_PCM_32};
    if (!(rate > 0 && rate < 1e9) || bits % 8 != 0 || bits == 0 || bits > 64) return info;
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(number(44, 4));
    info.format = SF_FORMAT_CAF | ((flags & 2) != 0 ? SF_ENDIAN_LITTLE : SF_ENDIAN_BIG);
    if ((flags & 1) != 0)
        info.format |= bits == 64 ? SF_FORMAT_DOUBLE : SF_FORMAT_FLOAT;
    else if (bits <= 32)
        info.format |= integers[bits / 8 - 1];
    return info;
}

float valueOf(float sample) {
    return sample;
}

float valueOf(std::int16_t sample) {
    return static_cast<float>(sample) * 0x1p-15F;
}

/// The byte order of a file's samples.
int orderOf(int format) {
    if ((format & SF_FORMAT_ENDMASK) != 0) return format & SF_FORMAT_ENDMASK;
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_AIFF || container == SF_FORMAT_AU || container == SF_FORMAT_CAF
               ? SF_ENDIAN_BIG
               : SF_ENDIAN_LITTLE;
}

}  // namespace

struct SoundReader::State {
    std::string name;
    SF_INFO info{};
    SNDFILE* file = nullptr;
    StandardInput standardInput;
    std::optional<VirtualFile> regular;  ///< for a regular file
    std::optional<SoundChunks> header;
    int descriptor = -1;
    bool isPipe = false;
    bool isRaw = false;
    bool isSalvaging = false;
    bool isDamaged = false;
    std::optional<std::int64_t> frames;
    std::int64_t framesRead = 0;
    /// For read(): 16-bit samples of the file, or others as floats, and the place in them.
    std::vector<std::int16_t> shorts;
    std::vector<float> floats;
    std::uint32_t taken = 0, held = 0;  ///< frames

    ~State() {
        if (file) sf_close(file);
        if (descriptor > STDERR_FILENO) close(descriptor);
    }

    void openRaw(int rate) {
        name = "standard input";
        isRaw = true;
        info = {.frames = 0,
                .samplerate = rate,
                .channels = 2,
                .format = SF_FORMAT_RAW | SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE,
                .sections = 0,
                .seekable = 0};
        SF_VIRTUAL_IO io{StandardInput::length, StandardInput::seek, StandardInput::read,
                         StandardInput::write, StandardInput::tell};
        file = sf_open_virtual(&io, SFM_READ, &info, &standardInput);
    }

    void open(const std::string& path) {
        name = path == "-" ? "standard input" : path;
        descriptor = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0 && errno == ENOENT)
            throw Failure(fmt::format("{}: there is no such file", path));
        if (descriptor < 0)
            throw Failure(fmt::format("{}: cannot read: {}", path, std::strerror(errno)));
        struct stat status {};
        if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode))
            throw Failure(fmt::format("{}: is a folder; name a sound file", path));
        const auto position = lseek(descriptor, 0, SEEK_CUR);
        isPipe = position < 0;
        header = readSoundChunks(descriptor);
        if (position == 0 && S_ISREG(status.st_mode))
            file = regular.emplace(descriptor).open(SFM_READ, &info);
        else
            file = sf_open_fd(dup(descriptor), SFM_READ, &info, SF_TRUE);
        if (header)
            checkLength(*header);
        else
            isDamaged = file && lacksOggEnd(descriptor);
        if (isDamaged && !isSalvaging)
            throw Failure(
                fmt::format("{}: is truncated: the page that ends its stream is missing; "
                            "render --salvage takes the rest",
                            name));
        if (file && info.frames == 0 && !isPipe && !isDamaged)
            throw Failure(fmt::format("{}: has no samples behind its header", name));
    }

    /// Compares the length by the header with the length of the file.
    void checkLength(const SoundChunks& chunks) {
        const auto missing = chunks.missing();
        isDamaged = chunks.isUnfinished || missing > 0;
        if (isDamaged && !isSalvaging)
            throw Failure(
                chunks.isUnfinished
                    ? fmt::format(
                          "{}: was never finished: its header gives {}, and {} bytes "
                          "follow; render --salvage takes them",
                          name,
                          chunks.size > 0 ? fmt::format("{} bytes", chunks.size) : "no length",
                          chunks.available)
                    : fmt::format(
                          "{}: is truncated: {} bytes are missing; render --salvage takes the "
                          "rest",
                          name, missing));
        if (isDamaged || (!file && chunks.isOpen())) openSamples(chunks);
        // libsndfile takes chunks that follow the samples of a W64 file for more of them.
        if (!isDamaged && file && (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_W64 &&
            soundFormat::isWritable(SF_FORMAT_RAW, info.format & SF_FORMAT_SUBMASK,
                                    info.samplerate))
            info.frames = std::min<sf_count_t>(info.frames, chunks.size / frameBytes());
    }

    /// Takes the bytes from the first sample to the end of the file.
    void openSamples(const SoundChunks& chunks) {
        if (!file) info = describeCaf(descriptor);
        SF_INFO samples = info;
        samples.format = SF_FORMAT_RAW | (info.format & SF_FORMAT_SUBMASK) | orderOf(info.format);
        lseek(descriptor, 0, SEEK_SET);
        SNDFILE* const raw = sf_open_fd(dup(descriptor), SFM_READ, &samples, SF_TRUE);
        sf_count_t start = chunks.start;
        if (!raw || sf_command(raw, SFC_SET_RAW_START_OFFSET, &start, sizeof start) != 0 ||
            sf_seek(raw, 0, SEEK_SET) != 0) {
            sf_close(raw);
            // A codec has to find the samples by itself.
            if (file && info.frames > 0) return;
            throw Failure(
                fmt::format("{}: is damaged, and --salvage takes only plain samples", name));
        }
        if (file) sf_close(file);
        file = raw;
        info.frames = chunks.available / frameBytes();
    }

    /// Bytes of a frame, at least 1; an estimate for packed formats.
    int frameBytes() const { return std::max(sf_current_byterate(file) / info.samplerate, 1); }

    /// Whether the header does not give the length of the input.
    bool isOpen() const {
        if (info.frames > SF_COUNT_MAX / 1024) return true;  // FLAC; AU in a pipe
        const std::int64_t bytesPerSecond = sf_current_byterate(file);
        return !info.seekable && isOpenSize(info.frames * bytesPerSecond / info.samplerate);
    }

    void check(bool upmix) const {
        if (!file) {
            std::string_view why = sf_strerror(nullptr);
            while (why.ends_with('.')) why.remove_suffix(1);
            throw Failure(fmt::format("{}: not a sound file that can be read: {}{}{}", name, why,
                                      isPipe ? "; " : "", isPipe ? pipeAdvice : ""));
        }
        const int container = info.format & SF_FORMAT_TYPEMASK;
        if (isPipe && std::ranges::find(pipeContainers, container) == pipeContainers.end())
            throw Failure(
                fmt::format("{}: its format cannot be read from a pipe; {}", name, pipeAdvice));
        if (info.channels == 1 && !upmix)
            throw Failure(
                fmt::format("{}: is mono; --upmix puts it on both sides of a stereo file", name));
        if (info.channels > maximumChannels)
            throw Failure(
                fmt::format("{}: has {} channels; kelvane takes stereo", name, info.channels));
    }

    template <typename Sample>
    std::uint32_t readWith(sf_count_t (*readf)(SNDFILE*, Sample*, sf_count_t), Sample* samples,
                           std::uint32_t count) {
        const auto wanted = std::min<sf_count_t>(count, info.frames - framesRead);
        const auto got = static_cast<std::uint32_t>(readf(file, samples, wanted));
        framesRead += got;
        if (got < count) checkEnd();
        if (info.channels == 1)
            for (std::uint32_t i = got; i-- > 0;) samples[2 * i] = samples[2 * i + 1] = samples[i];
        return got;
    }

    /// Reads the next frames for read(). False at the end.
    bool refill() {
        const bool isShort = (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_16;
        isShort ? shorts.resize(2 * refillFrames) : floats.resize(2 * refillFrames);
        held = isShort ? readWith(sf_readf_short, shorts.data(), refillFrames)
                       : readWith(sf_readf_float, floats.data(), refillFrames);
        taken = 0;
        return held > 0;
    }

    /// Gives the next of those frames, each channel by itself.
    void take(float* left, float* right, std::uint32_t count) {
        const auto split = [&](const auto* samples) {
            for (std::size_t i = 0; i < count; ++i) {
                left[i] = valueOf(samples[2 * i]);
                right[i] = valueOf(samples[2 * i + 1]);
            }
        };
        const auto begin = std::size_t{2} * taken;
        shorts.empty() ? split(&floats[begin]) : split(&shorts[begin]);
        taken += count;
    }

    /// Throws Failure at the end of an input that is not whole.
    void checkEnd() {
        if (const int error = regular ? regular->error() : standardInput.error; error != 0)
            throw Failure(fmt::format("{}: cannot read: {}", name, std::strerror(error)));
        if (isRaw) {
            const auto rest = standardInput.bytes % static_cast<std::int64_t>(2 * sizeof(float));
            if (rest != 0)
                throw Failure(
                    fmt::format("{}: is truncated: it ends {} bytes into a frame", name, rest));
            return;
        }
        if (!frames && framesRead >= info.frames && info.frames > 0)
            throw Failure(fmt::format(
                "{}: is longer than a WAV stream can be; send raw floats with --raw", name));
        // libsndfile reads nothing of a stream whose header gives 0 bytes.
        char more = 0;
        if (isPipe && framesRead == 0 && ::read(descriptor, &more, 1) == 1)
            throw Failure(
                fmt::format("{}: its header gives no length; save it as a file, and "
                            "render that with --salvage",
                            name));
        const bool isShort = frames && framesRead < *frames;
        if (isSalvaging && (isShort || sf_error(file) != SF_ERR_NO_ERROR)) {
            isDamaged = true;
            if (framesRead > 0) return;
        }
        if (isDamaged && framesRead == 0)
            throw Failure(fmt::format("{}: is truncated before its first whole frame", name));
        if (isShort)
            throw Failure(fmt::format(
                "{}: is truncated: it ends after {} of {} frames; render --salvage takes them",
                name, framesRead, *frames));
        if (sf_error(file) != SF_ERR_NO_ERROR)
            throw Failure(fmt::format("{}: cannot read: {}", name, sf_strerror(file)));
    }
};

SoundReader::SoundReader(const std::string& path, Options options)
    : state_(std::make_unique<State>()) {
    auto& state = *state_;
    state.isSalvaging = options.salvage;
    if (path == "-" && options.rawRate)
        state.openRaw(*options.rawRate);
    else
        state.open(path);
    state.check(options.upmix);
    if (!state.isRaw && !state.isOpen()) state.frames = state.info.frames;
}

SoundReader::~SoundReader() = default;

bool SoundReader::isDamaged() const {
    return state_->isDamaged;
}

std::int64_t SoundReader::framesRead() const {
    return state_->framesRead;
}

int SoundReader::rate() const {
    return state_->info.samplerate;
}

int SoundReader::format() const {
    return state_->info.format;
}

std::optional<std::int64_t> SoundReader::frames() const {
    return state_->frames;
}

Metadata SoundReader::metadata() const {
    return {state_->descriptor, state_->header, state_->file, state_->info.format};
}

bool SoundReader::isFileOf(int format) const {
    const auto& state = *state_;
    constexpr int kind = SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK;
    return !state.isRaw && !state.isPipe && !state.isDamaged && state.info.channels == 2 &&
           state.frames && (state.info.format & kind) == (format & kind);
}

void SoundReader::copyBytes(const std::function<void(std::string_view)>& write) {
    std::string bytes;
    for (std::int64_t at = 0;; at += std::ssize(bytes)) {
        errno = 0;
        bytes = readAt(state_->descriptor, at, 65536);
        if (errno != 0)
            throw Failure(fmt::format("{}: cannot read: {}", state_->name, std::strerror(errno)));
        if (bytes.empty()) return;
        write(bytes);
    }
}

std::uint32_t SoundReader::read(float* left, float* right, std::uint32_t frames) {
    auto& state = *state_;
    std::uint32_t done = 0;
    while (done < frames) {
        if (state.taken == state.held && !state.refill()) break;
        const auto count = std::min(frames - done, state.held - state.taken);
        state.take(left + done, right + done, count);
        done += count;
    }
    return done;
}

std::uint32_t SoundReader::readFrames(std::int32_t* samples, std::uint32_t frames) {
    return state_->readWith(sf_readf_int, samples, frames);
}

std::uint32_t SoundReader::readFrames(float* samples, std::uint32_t frames) {
    return state_->readWith(sf_readf_float, samples, frames);
}

std::uint32_t SoundReader::readFrames(double* samples, std::uint32_t frames) {
    return state_->readWith(sf_readf_double, samples, frames);
}

}  // namespace qov::cli
