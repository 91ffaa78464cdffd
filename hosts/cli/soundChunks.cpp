#include "hosts/cli/soundChunks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <string_view>
#include <utility>

#include "hosts/cli/fileBytes.h"

namespace qov::cli {
namespace {

/// A kind of file that is a row of chunks: an identifier, a size, that many bytes.
struct Layout {
    std::string_view magic;  ///< first bytes of the file
    std::int64_t firstChunk;
    int identifierBytes;
    int sizeBytes;
    std::endian order;
    bool countsHeader;         ///< a size includes the identifier and itself
    int alignment;             ///< of chunks, in bytes
    std::string_view samples;  ///< start of the identifier
    int beforeSamples;         ///< bytes of that chunk before the first sample
};

constexpr std::array layouts{
    Layout{"RIFF", 12, 4, 4, std::endian::little, false, 2, "data", 0},
    Layout{"RF64", 12, 4, 4, std::endian::little, false, 2, "data", 0},
    Layout{"RIFX", 12, 4, 4, std::endian::big, false, 2, "data", 0},
    Layout{"FORM", 12, 4, 4, std::endian::big, false, 2, "SSND", 8},
    Layout{"riff", 40, 16, 8, std::endian::little, true, 8, "data", 0},
    Layout{"caff", 8, 4, 8, std::endian::big, false, 1, "data", 4},
};

constexpr std::size_t mostChunks = 10'000;
/// Of the samples' size in the ds64 chunk, which an RF64 file begins with.
constexpr std::int64_t longSizeInRf64 = 28;

struct File {
    int descriptor;
    std::int64_t length;

    std::string read(std::int64_t at, std::int64_t count) const {
        return readAt(descriptor, at, count);
    }
    std::optional<std::int64_t> number(std::int64_t at, int count, std::endian order) const {
        const auto bytes = read(at, count);
        if (std::ssize(bytes) < count) return std::nullopt;
        return static_cast<std::int64_t>(numberAt(bytes, 0, count, order));
    }
    /// Whether samples go on from here: more bytes than a tag or a sector's rest has, and not only
    /// zeros, as files are padded with.
    bool hasSamplesFrom(std::int64_t at) const {
        if (length - at <= 4096 || read(at, 3) == "ID3") return false;
        for (; at < length; at += 65536)
            if (read(at, 65536).find_first_not_of('\0') != std::string::npos) return true;
        return false;
    }
};

class Walk {
 public:
    Walk(const File& file, const Layout& layout) : file_(file), layout_(layout) {}

    std::optional<SoundChunks> chunks() {
        follow(layout_.firstChunk);
        return hasSamples_ ? std::optional(std::move(chunks_)) : std::nullopt;
    }

 private:
    /// Whether there are whole chunks from here to the end of the file.
    bool follow(std::int64_t at) {
        const int header = layout_.identifierBytes + layout_.sizeBytes;
        while (at < file_.length && chunks_.others.size() < mostChunks) {
            auto identifier = file_.read(at, layout_.identifierBytes);
            const auto size =
                file_.number(at + layout_.identifierBytes, layout_.sizeBytes, layout_.order);
            const bool isText = std::ranges::all_of(identifier.substr(0, 4),
                                                    [](char c) { return c >= ' ' && c <= '~'; });
            if (!size || !isText) {
                chunks_.isUnfinished = hasSamples_ && file_.hasSamplesFrom(at);
                return false;
            }
            auto content = *size - (layout_.countsHeader ? header : 0);
            const bool isSamples = identifier.starts_with(layout_.samples) && !hasSamples_;
            if (isSamples && layout_.magic == "RF64" && content == 0xFFFFFFFF)
                content = file_.number(longSizeInRf64, 8, layout_.order).value_or(0);
            const auto start = at + header;
            at = (start + content + layout_.alignment - 1) / layout_.alignment * layout_.alignment;
            if (isSamples) {
                if (!takeSamples(start, content, at)) return false;
                continue;
            }
            if (content < 0 || start + content > file_.length) return false;
            chunks_.others.push_back({std::move(identifier), start, content});
        }
        return true;
    }

    /// Whether more chunks follow that of the samples, which ends at `next`.
    bool takeSamples(std::int64_t start, std::int64_t content, std::int64_t next) {
        hasSamples_ = true;
        chunks_.start = start + layout_.beforeSamples;
        chunks_.available = file_.length - chunks_.start;
        chunks_.size =
            content == -1 ? content : std::max<std::int64_t>(content - layout_.beforeSamples, 0);
        if (chunks_.size != 0) return !chunks_.isOpen() && chunks_.missing() == 0;
        chunks_.isUnfinished =
            chunks_.available > 0 && (content < layout_.beforeSamples || !follow(next));
        return false;
    }

    const File& file_;
    const Layout& layout_;
    SoundChunks chunks_;
    bool hasSamples_ = false;
};

std::optional<SoundChunks> readAuHeader(const File& file, std::endian order) {
    const auto start = file.number(4, 4, order);
    const auto size = file.number(8, 4, order);
    if (!start || !size || *start > file.length) return std::nullopt;
    const auto available = file.length - *start;
    return SoundChunks{
        {},
        *start,
        *size,
        available,
        *size == 0 ? available > 0 : !isOpenSize(*size) && file.hasSamplesFrom(*start + *size)};
}

}  // namespace

bool lacksOggEnd(int descriptor) {
    constexpr std::size_t header = 27;
    constexpr std::int64_t tailBytes = 2 * (header + 255 + 255 * 255);  // of two largest pages
    const File file{descriptor, fileLength(descriptor)};
    if (file.read(0, 4) != "OggS") return false;
    const auto tail = file.read(std::max<std::int64_t>(file.length - tailBytes, 0), tailBytes);
    const auto at = tail.rfind("OggS");
    if (at == std::string::npos) return true;
    const auto page = std::string_view(tail).substr(at);
    const auto byte = [&](std::size_t i) {
        return i < page.size() ? static_cast<unsigned char>(page[i]) : 0U;
    };
    constexpr unsigned endOfStream = 4;
    const std::size_t segments = byte(header - 1);
    std::size_t size = header + segments;
    for (std::size_t i = 0; i < segments; ++i) size += byte(header + i);
    return (byte(5) & endOfStream) == 0 || page.size() < size;
}

bool isOpenSize(std::int64_t bytes) {
    return (bytes > 0x7F000000 - 8 && bytes <= 0x7F000000) ||  // sox's AIFF: whole frames of these
           (bytes >= 0x7FFFE000 && bytes <= 0x7FFFFFFF) ||
           (bytes >= 0xFFFFE000 && bytes <= 0xFFFFFFFF) || bytes == -1;
}

bool SoundChunks::isOpen() const {
    return isOpenSize(size) && size != available;
}

std::int64_t SoundChunks::missing() const {
    return isOpenSize(size) ? 0 : std::max<std::int64_t>(size - available, 0);
}

std::optional<SoundChunks> readSoundChunks(int descriptor) {
    const File file{descriptor, fileLength(descriptor)};
    if (file.length < 0) return std::nullopt;
    const auto magic = file.read(0, 4);
    if (magic == ".snd") return readAuHeader(file, std::endian::big);
    if (magic == "dns.") return readAuHeader(file, std::endian::little);
    const auto layout = std::ranges::find(layouts, std::string_view(magic), &Layout::magic);
    return layout == layouts.end() ? std::nullopt : Walk(file, *layout).chunks();
}

}  // namespace qov::cli
