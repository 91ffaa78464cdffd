#include "hosts/cli/SoundReader.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string_view>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/SoundFormat.h"

namespace qov::cli {
namespace {

using soundFormat::Carrier;

constexpr float integerScale = 1.0F / 2147483648.0F;  // 2^-31
constexpr int maximumChannels = 2;

/// Whether a header's size is what programs write that can't go back and put in the true one: about
/// 2 or about 4 GiB.
bool isOpenSize(std::int64_t bytes) {
    return (bytes >= 0x7FFFE000 && bytes <= 0x7FFFFFFF) ||
           (bytes >= 0xFFFFE000 && bytes <= 0xFFFFFFFF);
}

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
        sf_count_t done = 0;
        while (done < count) {
            const auto got = ::read(STDIN_FILENO, static_cast<char*>(to) + done,
                                    static_cast<std::size_t>(count - done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) input.error = errno;
            if (got <= 0) break;
            done += got;
        }
        input.bytes += done;
        return done;
    }
};

std::string logOf(SNDFILE* file) {
    std::array<char, 16384> log{};
    sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size() - 1));
    return log.data();
}

/// What a WAV header says of its data's bytes, as the library notes it; 0 where it notes nothing.
std::int64_t saidBytes(const std::string& log) {
    constexpr std::string_view data = "\ndata : ";
    const auto at = log.find(data);
    return at == std::string::npos ? 0 : std::atoll(log.c_str() + at + data.size());
}

/// What the header said of its data's bytes where the file is shorter than that; 0 where it is
/// whole. The library takes such a file as it is and only notes "data : 400 (should be 200)".
std::int64_t missingBytes(const std::string& log) {
    for (const std::string_view chunk : {"data : ", "SSND : ", "Data Size   : ", "riff : "}) {
        const auto at = log.find(chunk);
        if (at == std::string::npos) continue;
        const auto line = log.substr(at + chunk.size(), log.find('\n', at) - at - chunk.size());
        const auto should = line.find("(should be ");
        if (should == std::string::npos) continue;
        const auto said = std::atoll(line.c_str());
        const auto is = std::atoll(line.c_str() + should + std::strlen("(should be "));
        if (said > is && !isOpenSize(said)) return said - is;
    }
    return 0;
}

}  // namespace

struct SoundReader::State {
    std::string name;
    SF_INFO info{};
    SNDFILE* file = nullptr;
    StandardInput standardInput;
    bool isRaw = false;
    std::optional<std::int64_t> frames;
    std::int64_t framesRead = 0;
    std::vector<std::int32_t> integers;
    std::vector<float> floats;

    ~State() {
        if (file) sf_close(file);
    }

    void openStandardInput(const Options& options) {
        name = "standard input";
        if (!options.rawRate) {
            file = sf_open_fd(STDIN_FILENO, SFM_READ, &info, SF_FALSE);
            return;
        }
        isRaw = true;
        info = {.frames = 0,
                .samplerate = *options.rawRate,
                .channels = 2,
                .format = SF_FORMAT_RAW | SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE,
                .sections = 0,
                .seekable = 0};
        SF_VIRTUAL_IO io{StandardInput::length, StandardInput::seek, StandardInput::read,
                         StandardInput::write, StandardInput::tell};
        file = sf_open_virtual(&io, SFM_READ, &info, &standardInput);
    }

    void openFile(const std::string& path) {
        name = path;
        std::error_code error;
        const auto status = std::filesystem::status(path, error);
        if (!std::filesystem::exists(status))
            throw Failure(fmt::format("{}: there is no such file", path));
        if (std::filesystem::is_directory(status))
            throw Failure(fmt::format("{}: is a folder; name a sound file", path));
        errno = 0;
        if (access(path.c_str(), R_OK) != 0)
            throw Failure(fmt::format("{}: cannot read: {}", path, std::strerror(errno)));
        file = sf_open(path.c_str(), SFM_READ, &info);
    }

    void check(bool upmix) const {
        if (!file) {
            std::string_view why = sf_strerror(nullptr);
            while (why.ends_with('.')) why.remove_suffix(1);
            throw Failure(fmt::format("{}: not a sound file that can be read: {}", name, why));
        }
        if (info.channels == 1 && !upmix)
            throw Failure(
                fmt::format("{}: is mono; --upmix puts it on both sides of a stereo file", name));
        if (info.channels > maximumChannels)
            throw Failure(
                fmt::format("{}: has {} channels; kelvane takes stereo", name, info.channels));
        if (const auto missing = missingBytes(logOf(file)))
            throw Failure(fmt::format("{}: is truncated: {} bytes are missing", name, missing));
    }

    template <typename Sample>
    std::uint32_t readWith(sf_count_t (*readf)(SNDFILE*, Sample*, sf_count_t), Sample* samples,
                           std::uint32_t count) {
        const auto got = static_cast<std::uint32_t>(readf(file, samples, count));
        framesRead += got;
        if (got < count) checkEnd();
        if (info.channels == 1)
            for (std::uint32_t i = got; i-- > 0;) samples[2 * i] = samples[2 * i + 1] = samples[i];
        return got;
    }

    /// The input has no more frames: is it whole?
    void checkEnd() const {
        if (standardInput.error != 0)
            throw Failure(
                fmt::format("{}: cannot read: {}", name, std::strerror(standardInput.error)));
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
        if (frames && framesRead < *frames)
            throw Failure(fmt::format("{}: is truncated: it ends after {} of {} frames", name,
                                      framesRead, *frames));
        if (sf_error(file) != SF_ERR_NO_ERROR)
            throw Failure(fmt::format("{}: cannot read: {}", name, sf_strerror(file)));
    }
};

SoundReader::SoundReader(const std::string& path, Options options)
    : state_(std::make_unique<State>()) {
    auto& state = *state_;
    if (path == "-")
        state.openStandardInput(options);
    else
        state.openFile(path);
    state.check(options.upmix);
    const bool isOpen = !state.info.seekable && isOpenSize(saidBytes(logOf(state.file)));
    if (!state.isRaw && !isOpen) state.frames = state.info.frames;
}

SoundReader::~SoundReader() = default;

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
    Metadata metadata;
    for (int key = SF_STR_FIRST; key <= SF_STR_LAST; ++key)
        if (const char* text = sf_get_string(state_->file, key)) metadata.emplace_back(key, text);
    return metadata;
}

std::uint32_t SoundReader::read(float* left, float* right, std::uint32_t frames) {
    auto& state = *state_;
    std::uint32_t got = 0;
    if (soundFormat::carrierOf(state.info.format) == Carrier::integers) {
        state.integers.resize(std::size_t{2} * frames);
        got = readFrames(state.integers.data(), frames);
        const std::int32_t* const from = state.integers.data();
        for (std::size_t i = 0; i < got; ++i) {
            left[i] = static_cast<float>(from[2 * i]) * integerScale;
            right[i] = static_cast<float>(from[2 * i + 1]) * integerScale;
        }
    } else {
        state.floats.resize(std::size_t{2} * frames);
        got = readFrames(state.floats.data(), frames);
        const float* const from = state.floats.data();
        for (std::size_t i = 0; i < got; ++i) {
            left[i] = from[2 * i];
            right[i] = from[2 * i + 1];
        }
    }
    return got;
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
