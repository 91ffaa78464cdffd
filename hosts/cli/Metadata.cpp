#include "hosts/cli/Metadata.h"

#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include <attachedpictureframe.h>
#include <flacpicture.h>
#include <fmt/format.h>
#include <id3v2framefactory.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <oggfile.h>
#include <opusfile.h>
#include <sndfile.h>
#include <tbytevectorstream.h>
#include <tfilestream.h>
#include <tpropertymap.h>
#include <vorbisfile.h>

#include "hosts/cli/soundChunks.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

using namespace std::literals;

/// Chunks that describe the samples or pad the file: the output has its own.
constexpr std::array ownChunks{"fmt "sv, "fact"sv, "PEAK"sv, "JUNK"sv, "ds64"sv, "levl"sv,
                               "COMM"sv, "FVER"sv, "desc"sv, "pakt"sv, "kuki"sv, "chan"sv,
                               "free"sv, "peak"sv, "FLLR"sv, "PAD "sv, "junk"sv};
/// Chunks whose texts are also among libsndfile's strings or in an ID3 tag.
constexpr std::array textChunks{"NAME"sv, "AUTH"sv, "ANNO"sv, "(c) "sv,
                                "info"sv, "strg"sv, "id3 "sv, "ID3 "sv};
constexpr std::int64_t largestChunk = 64 << 20;
/// A metadata block of FLAC is smaller, as its size has 24 bits.
constexpr std::size_t flacBlockLimit = 1 << 24;
/// Of the block of comments, for the encoder's name and the counts.
constexpr std::size_t commentReserve = 4096;

/// How W64 spells identifiers of four letters.
constexpr auto w64Tail = "\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A"sv;
constexpr auto w64List = "list\x2F\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv;

constexpr std::array<std::pair<int, std::string_view>, 10> stringKeys{{
    {SF_STR_TITLE, "TITLE"},
    {SF_STR_COPYRIGHT, "COPYRIGHT"},
    {SF_STR_SOFTWARE, "ENCODER"},
    {SF_STR_ARTIST, "ARTIST"},
    {SF_STR_COMMENT, "COMMENT"},
    {SF_STR_DATE, "DATE"},
    {SF_STR_ALBUM, "ALBUM"},
    {SF_STR_LICENSE, "LICENSE"},
    {SF_STR_TRACKNUMBER, "TRACKNUMBER"},
    {SF_STR_GENRE, "GENRE"},
}};

/// The keys of RIFF's INFO chunk that become texts.
constexpr std::array<std::pair<std::string_view, std::string_view>, 9> infoKeys{{
    {"INAM", "TITLE"},
    {"ICOP", "COPYRIGHT"},
    {"ISFT", "ENCODER"},
    {"IART", "ARTIST"},
    {"ICMT", "COMMENT"},
    {"ICRD", "DATE"},
    {"IPRD", "ALBUM"},
    {"ITRK", "TRACKNUMBER"},
    {"IGNR", "GENRE"},
}};

enum FlacBlock { application = 2, comment = 4, cueSheet = 5, picture = 6 };

int containerOf(int format) {
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_WAVEX ? SF_FORMAT_WAV : container;
}

/// Containers of one family take each other's chunks; 0 for those without chunks.
int familyOf(int format) {
    switch (containerOf(format)) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_RF64:
        case SF_FORMAT_W64:
            return SF_FORMAT_WAV;
        case SF_FORMAT_AIFF:
        case SF_FORMAT_CAF:
            return containerOf(format);
        default:
            return 0;
    }
}

bool takesComments(int format) {
    const int container = containerOf(format);
    return container == SF_FORMAT_FLAC || container == SF_FORMAT_OGG;
}

bool takesId3(int format) {
    const int container = containerOf(format);
    return container == SF_FORMAT_MPEG || container == SF_FORMAT_WAV || container == SF_FORMAT_AIFF;
}

bool isAmong(const auto& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

/// Whether two keys differ in nothing but upper and lower case.
bool isSameKey(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

/// The first text of a key; the end of the texts where they lack it.
auto findKey(const auto& texts, std::string_view key) {
    return std::ranges::find_if(texts,
                                [&](const auto& text) { return isSameKey(text.first, key); });
}

bool hasKey(const auto& texts, std::string_view key) {
    return findKey(texts, key) != texts.end();
}

std::string number(std::uint64_t value, int bytes, bool isBigEndian) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * (isBigEndian ? bytes - 1 - i : i)));
    return text;
}

std::uint64_t numberAt(std::string_view text, std::size_t at, int bytes, bool isBigEndian) {
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        const auto index = at + static_cast<std::size_t>(isBigEndian ? i : bytes - 1 - i);
        value = value << 8 | (index < text.size() ? static_cast<unsigned char>(text[index]) : 0U);
    }
    return value;
}

std::string bytesAt(int descriptor, std::int64_t at, std::int64_t count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const auto got = pread(descriptor, bytes.data(), bytes.size(), at);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return bytes;
}

std::string shown(std::string identifier) {
    identifier.resize(std::min<std::size_t>(identifier.size(), 4));
    identifier.erase(identifier.find_last_not_of(' ') + 1);
    return identifier;
}

std::string stringOf(const TagLib::ByteVector& bytes) {
    return {bytes.data(), bytes.size()};
}

TagLib::ByteVector vectorOf(const std::string& bytes) {
    return {bytes.data(), static_cast<unsigned>(bytes.size())};
}

/// A file of TagLib's on an open descriptor, which stays open.
template <class File, class... Options>
struct Tagged {
    explicit Tagged(int descriptor, Options... options)
        : stream(rewound(descriptor), false), file(&stream, options...) {}
    static int rewound(int descriptor) {
        lseek(descriptor, 0, SEEK_SET);  // RIFF files are read from there on
        return dup(descriptor);
    }
    TagLib::FileStream stream;
    File file;
};

bool isTextChunk(const std::string& identifier, const std::string& bytes) {
    return isAmong(textChunks, identifier) || (identifier == "LIST" && bytes.starts_with("INFO"));
}

/// The block of FLAC for an ID3 picture.
std::string pictureBlock(const TagLib::ID3v2::AttachedPictureFrame& frame) {
    TagLib::FLAC::Picture picture;
    picture.setType(static_cast<TagLib::FLAC::Picture::Type>(frame.type()));
    picture.setMimeType(frame.mimeType());
    picture.setDescription(frame.description());
    picture.setData(frame.picture());
    return stringOf(picture.render());
}

/// Whether libsndfile writes the text of a key into a container.
bool isStringOf(int format, std::string_view key) {
    const auto* const known = std::ranges::find_if(
        stringKeys, [&](const auto& row) { return isSameKey(row.second, key); });
    if (known == stringKeys.end()) return false;
    switch (containerOf(format)) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_RF64:
            return known->first != SF_STR_LICENSE;
        case SF_FORMAT_AIFF:
            return known->first == SF_STR_TITLE || known->first == SF_STR_COPYRIGHT ||
                   known->first == SF_STR_SOFTWARE || known->first == SF_STR_ARTIST ||
                   known->first == SF_STR_COMMENT;
        case SF_FORMAT_CAF:
            return true;
        default:
            return false;
    }
}

std::int64_t lengthOf(const OutputPlace& place) {
    struct stat status {};
    return fstat(place.descriptor(), &status) == 0 ? status.st_size : 0;
}

void put(const OutputPlace& place, const std::string& bytes, std::size_t at) {
    errno = 0;
    if (pwrite(place.descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(at)) !=
        std::ssize(bytes))
        place.failToWrite(errno != 0 ? errno : ENOSPC);
}

/// Puts bytes in place of others, which may be of another length.
void replace(const OutputPlace& place, const std::string& bytes, std::size_t at, std::size_t old) {
    const auto expected = lengthOf(place) + std::ssize(bytes) - static_cast<std::int64_t>(old);
    {
        TagLib::FileStream stream(dup(place.descriptor()), false);
        stream.insert(vectorOf(bytes), at, old);
    }
    if (lengthOf(place) != expected) place.failToWrite(ENOSPC);
}

using Blocks = std::vector<std::pair<int, std::string>>;

/// The metadata blocks of a FLAC file, by type; without padding.
Blocks flacBlocks(int descriptor) {
    Blocks blocks;
    bool isLast = bytesAt(descriptor, 0, 4) != "fLaC";
    for (std::int64_t at = 4; !isLast;) {
        const auto header = bytesAt(descriptor, at, 4);
        if (header.size() < 4) break;
        isLast = (header[0] & 0x80) != 0;
        const auto size = static_cast<std::int64_t>(numberAt(header, 1, 3, true));
        blocks.emplace_back(header[0] & 0x7F, bytesAt(descriptor, at + 4, size));
        at += 4 + size;
    }
    return blocks;
}

std::size_t lengthOf(const Blocks& blocks) {
    std::size_t length = 0;
    for (const auto& [type, bytes] : blocks) length += 4 + bytes.size();
    return length;
}

struct Marker {
    std::uint32_t identifier;
    std::uint32_t frame;
    std::string name;
};

bool isMarkerChunk(const std::string& identifier, const std::string& bytes) {
    return identifier == "cue " || identifier == "MARK" ||
           (identifier == "LIST" && bytes.starts_with("adtl"));
}

/// The markers of WAV's cue and label chunks, or of AIFF's.
std::vector<Marker> markersIn(const auto& chunks) {
    std::vector<Marker> markers;
    for (const auto& [identifier, bytes] : chunks) {
        if (identifier == "cue ")
            for (std::size_t at = 4; at + 24 <= bytes.size(); at += 24)
                markers.push_back({static_cast<std::uint32_t>(numberAt(bytes, at, 4, false)),
                                   static_cast<std::uint32_t>(numberAt(bytes, at + 20, 4, false)),
                                   {}});
        if (identifier == "MARK")
            for (std::size_t at = 2; at + 7 <= bytes.size();) {
                const auto size = numberAt(bytes, at + 6, 1, true);
                markers.push_back({static_cast<std::uint32_t>(numberAt(bytes, at, 2, true)),
                                   static_cast<std::uint32_t>(numberAt(bytes, at + 2, 4, true)),
                                   bytes.substr(at + 7, size)});
                at += 7 + size + (size % 2 == 0 ? 1 : 0);
            }
    }
    for (const auto& [identifier, bytes] : chunks) {
        if (identifier != "LIST" || !bytes.starts_with("adtl")) continue;
        for (std::size_t at = 4; at + 12 <= bytes.size();) {
            const auto size = numberAt(bytes, at + 4, 4, false);
            for (auto& marker : markers)
                if (bytes.compare(at, 4, "labl") == 0 && size > 4 &&
                    marker.identifier == numberAt(bytes, at + 8, 4, false))
                    marker.name = bytes.substr(at + 12, size - 4).c_str();  // up to the zero
            at += 8 + size + size % 2;
        }
    }
    return markers;
}

std::string cueChunk(const std::vector<Marker>& markers) {
    auto chunk = number(markers.size(), 4, false);
    for (const auto& marker : markers)
        chunk += number(marker.identifier, 4, false) + number(marker.frame, 4, false) + "data" +
                 number(0, 8, false) + number(marker.frame, 4, false);
    return chunk;
}

std::string labelChunk(const std::vector<Marker>& markers) {
    std::string chunk = "adtl";
    for (const auto& marker : markers) {
        chunk += "labl" + number(marker.name.size() + 5, 4, false) +
                 number(marker.identifier, 4, false) + marker.name + '\0';
        if (chunk.size() % 2 != 0) chunk += '\0';
    }
    return chunk;
}

std::string markChunk(const std::vector<Marker>& markers) {
    auto chunk = number(markers.size(), 2, true);
    std::uint64_t identifier = 0;  // has to be positive
    for (const auto& marker : markers) {
        const auto name = marker.name.substr(0, 255);
        chunk += number(++identifier, 2, true) + number(marker.frame, 4, true) +
                 number(name.size(), 1, true) + name;
        if (name.size() % 2 == 0) chunk += '\0';
    }
    return chunk;
}

/// What precedes the comments in the second packet of an Ogg stream, and follows them.
std::string_view packetMagic(int format) {
    return (format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS ? "OpusTags"sv : "\x03vorbis"sv;
}

template <class Use>
void useOgg(int descriptor, int format, Use use) {
    if ((format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS) {
        Tagged<TagLib::Ogg::Opus::File, bool> tagged(descriptor, false);
        use(tagged.file);
    } else {
        Tagged<TagLib::Ogg::Vorbis::File, bool> tagged(descriptor, false);
        use(tagged.file);
    }
}

}  // namespace

Metadata::Metadata(int descriptor, SNDFILE* file, int format) : format_(format) {
    for (const auto& [key, name] : stringKeys)
        if (const char* text = sf_get_string(file, key); text && *text != 0)
            strings_.emplace_back(key, text);
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        const auto position = lseek(descriptor, 0, SEEK_CUR);
        readChunks(descriptor);
        readTags(descriptor);
        lseek(descriptor, position, SEEK_SET);  // TagLib moves it
    }
    for (const auto& [key, text] : strings_) {
        const auto* const name =
            std::ranges::find(stringKeys, key, &decltype(stringKeys)::value_type::first);
        if (!hasKey(texts_, name->second)) texts_.emplace_back(name->second, text);
    }
    // libsndfile reads no texts of W64 files and no ID3 tag beside a file's own texts.
    for (const auto& [key, name] : stringKeys)
        if (const auto text = findKey(texts_, name);
            text != texts_.end() &&
            std::ranges::find(strings_, key, &std::pair<int, std::string>::first) == strings_.end())
            strings_.emplace_back(key, text->second);
}

void Metadata::readChunks(int descriptor) {
    const auto chunks = readSoundChunks(descriptor);
    if (!chunks || familyOf(format_) == 0) return;
    for (const auto& chunk : chunks->others) {
        auto identifier = chunk.identifier;
        if (identifier == w64List)
            identifier = "LIST";
        else if (identifier.ends_with(w64Tail))
            identifier.resize(4);
        if (isAmong(ownChunks, identifier)) continue;
        if (chunk.size > largestChunk) {
            lostAlways_.push_back(
                shown(identifier == "LIST" ? bytesAt(descriptor, chunk.start, 4) : identifier) +
                " of more than 64 MiB");
            continue;
        }
        auto bytes = bytesAt(descriptor, chunk.start, chunk.size);
        if (identifier == "id3 " || identifier == "ID3 ") id3_ = bytes;
        chunks_.push_back({std::move(identifier), std::move(bytes)});
    }
}

void Metadata::readTags(int descriptor) {
    const auto takeProperties = [&](const TagLib::PropertyMap& properties) {
        for (const auto& [key, values] : properties)
            for (const auto& value : values)
                texts_.emplace_back(key.to8Bit(true), value.to8Bit(true));
    };
    const auto takeId3 = [&](TagLib::ID3v2::Tag* tag) {
        if (!tag) return;
        for (auto* frame : tag->frameListMap()["APIC"])
            if (auto* shownFrame = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame))
                pictures_.push_back(pictureBlock(*shownFrame));
        auto properties = tag->properties();
        for (const auto& name : properties.unsupportedData()) {
            auto frame = name.to8Bit(true);
            if (frame.starts_with("UNKNOWN/")) frame.erase(0, 8);
            frame.resize(std::min(frame.find('/'), frame.size()));  // its description follows
            if (frame != "APIC") lostFrames_.push_back(frame);
        }
    };
    auto* const factory = TagLib::ID3v2::FrameFactory::instance();
    switch (containerOf(format_)) {
        case SF_FORMAT_FLAC:
            readFlac(descriptor);
            break;
        case SF_FORMAT_OGG:
            useOgg(descriptor, format_, [&](auto& file) {
                const auto packet = stringOf(file.packet(1));
                const auto magic = packetMagic(format_);
                if (packet.starts_with(magic))
                    takeComments(std::string_view(packet).substr(magic.size()));
            });
            break;
        case SF_FORMAT_MPEG: {
            Tagged<TagLib::MPEG::File, TagLib::ID3v2::FrameFactory*, bool> tagged(descriptor,
                                                                                  factory, false);
            takeProperties(tagged.file.properties());
            takeId3(tagged.file.ID3v2Tag());
            if (tagged.file.hasID3v2Tag()) id3_ = stringOf(tagged.file.ID3v2Tag()->render());
            break;
        }
        default:
            if (!id3_.empty()) {
                TagLib::ByteVectorStream stream(vectorOf(id3_));
                TagLib::MPEG::File file(&stream, factory, false);
                if (file.hasID3v2Tag()) takeProperties(file.ID3v2Tag()->properties());
                takeId3(file.ID3v2Tag());
            }
            for (const auto& [identifier, bytes] : chunks_)
                if (identifier == "LIST" && bytes.starts_with("INFO")) readInfo(bytes);
    }
}

void Metadata::readInfo(std::string_view list) {
    for (std::size_t at = 4; at + 8 <= list.size();) {
        const auto key = list.substr(at, 4);
        const auto size = numberAt(list, at + 4, 4, false);
        auto text = list.substr(at + 8, size);
        text = text.substr(0, text.find('\0'));
        at += 8 + size + size % 2;
        const auto* const known =
            std::ranges::find(infoKeys, key, &decltype(infoKeys)::value_type::first);
        if (known == infoKeys.end())
            lostInfo_.push_back(shown(std::string(key)));
        else if (!text.empty() && !hasKey(texts_, known->second))
            texts_.emplace_back(known->second, text);
    }
}

void Metadata::readFlac(int descriptor) {
    for (auto& [type, bytes] : flacBlocks(descriptor)) {
        if (type == comment)
            takeComments(bytes);
        else if (type == picture)
            pictures_.push_back(std::move(bytes));
        else if (type == application || type == cueSheet)
            blocks_.emplace_back(type, std::move(bytes));
    }
}

void Metadata::takeComments(std::string_view comments) {
    const auto vendor = numberAt(comments, 0, 4, false);
    std::size_t at = 4 + vendor + 4;
    for (auto count = numberAt(comments, 4 + vendor, 4, false);
         count > 0 && at + 4 <= comments.size(); --count) {
        const auto size = numberAt(comments, at, 4, false);
        if (at + 4 + size > comments.size()) return;
        const std::string text(comments.substr(at + 4, size));
        at += 4 + size;
        const auto equals = text.find('=');
        if (equals == std::string::npos) continue;
        const auto key = text.substr(0, equals);
        if (strcasecmp(key.c_str(), "METADATA_BLOCK_PICTURE") == 0)
            pictures_.push_back(
                stringOf(TagLib::ByteVector::fromBase64(vectorOf(text.substr(equals + 1)))));
        else
            texts_.emplace_back(key, text.substr(equals + 1));
    }
}

bool Metadata::keepsChunks(int format) const {
    return familyOf(format) != 0 && familyOf(format) == familyOf(format_);
}

void Metadata::setStrings(SNDFILE* file, int container) const {
    // In one family they are among the chunks.
    const bool areChunks = std::ranges::any_of(
        chunks_, [](const auto& chunk) { return isTextChunk(chunk.identifier, chunk.bytes); });
    if (keepsChunks(container) && areChunks) return;
    for (const auto& [key, text] : strings_)
        if (text.size() < flacBlockLimit - commentReserve || !takesComments(container))
            sf_set_string(file, key, text.c_str());
}

std::vector<Metadata::Chunk> Metadata::chunksFor(int format) const {
    std::vector<Chunk> result;
    const int family = familyOf(format);
    if (keepsChunks(format)) {
        for (const auto& chunk : chunks_)
            if (chunk.identifier.size() == 4 || containerOf(format) == SF_FORMAT_W64)
                result.push_back(chunk);
        return result;
    }
    const auto markers = markersIn(chunks_);
    if (!markers.empty() && family == SF_FORMAT_WAV) {
        result.push_back({"cue ", cueChunk(markers)});
        result.push_back({"LIST", labelChunk(markers)});
    }
    if (!markers.empty() && family == SF_FORMAT_AIFF)
        result.push_back({"MARK", markChunk(markers)});
    const bool needsId3 =
        !id3_.empty() || !pictures_.empty() || std::ranges::any_of(texts_, [&](const auto& text) {
            return !isStringOf(format, text.first);
        });
    if (takesId3(format) && needsId3)
        result.push_back({family == SF_FORMAT_WAV ? "id3 " : "ID3 ", id3Tag()});
    return result;
}

std::string Metadata::wavChunks() const {
    std::string all;
    for (const auto& [identifier, bytes] : chunksFor(SF_FORMAT_WAV)) {
        all += identifier;
        all += number(bytes.size(), 4, false);
        all += bytes;
        if (bytes.size() % 2 != 0) all += '\0';
    }
    return all;
}

void Metadata::addTo(const OutputPlace& place, int format) const {
    if (containerOf(format) == SF_FORMAT_FLAC)
        addFlacBlocks(place);
    else if (containerOf(format) == SF_FORMAT_OGG)
        addOggComments(place, format);
    else if (containerOf(format) == SF_FORMAT_MPEG)
        addId3(place);
    else if (familyOf(format) != 0)
        addChunks(place, format);
}

void Metadata::addChunks(const OutputPlace& place, int format) const {
    const auto chunks = chunksFor(format);
    if (chunks.empty()) return;
    const auto end = static_cast<std::size_t>(lengthOf(place));
    // A file of libsndfile's that stayed below 4 GiB is WAV where RF64 was asked for.
    const auto magic = bytesAt(place.descriptor(), 0, 4);
    const bool isBigEndian = familyOf(format) != SF_FORMAT_WAV;
    const bool isCaf = magic == "caff";
    const bool isW64 = magic == "riff";
    const std::size_t alignment = isW64 ? 8 : isCaf ? 1 : 2;
    std::string added;
    for (const auto& [identifier, bytes] : chunks) {
        while ((end + added.size()) % alignment != 0) added += '\0';
        if (!isW64)
            added += identifier;
        else if (identifier == "LIST")
            added += w64List;
        else
            added += identifier.size() == 4 ? identifier + std::string(w64Tail) : identifier;
        added += number(bytes.size() + (isW64 ? 24 : 0), isW64 || isCaf ? 8 : 4, isBigEndian);
        added += bytes;
    }
    while ((end + added.size()) % alignment != 0) added += '\0';
    const auto total = end + added.size();
    if (!isW64 && !isCaf && magic != "RF64" && total > 0xFFFFFFFF) return;
    if (isW64)  // libsndfile takes what follows the samples for more of them
        replace(place, added,
                static_cast<std::size_t>(readSoundChunks(place.descriptor())->start) - 24, 0);
    else
        put(place, added, end);
    if (magic == "RF64")
        put(place, number(total - 8, 8, false), 20);
    else if (isW64)
        put(place, number(total, 8, false), 16);
    else if (!isCaf)
        put(place, number(total - 8, 4, isBigEndian), 4);
}

std::pair<Metadata::Texts, Metadata::Texts> Metadata::splitForFlac() const {
    std::pair<Texts, Texts> split;
    std::size_t length = commentReserve;
    for (const auto& text : texts_) {
        const auto bytes = 4 + text.first.size() + 1 + text.second.size();
        const bool fits = length + bytes < flacBlockLimit;
        if (fits) length += bytes;
        (fits ? split.first : split.second).push_back(text);
    }
    return split;
}

std::string Metadata::comments(std::string_view old, const Texts& texts, bool withPictures) const {
    auto result = std::string(old.substr(0, 4 + numberAt(old, 0, 4, false)));  // the encoder's name
    std::vector<std::string> fields;
    for (const auto& [key, text] : texts) fields.push_back(fmt::format("{}={}", key, text));
    if (withPictures)
        for (const auto& block : pictures_)
            fields.push_back("METADATA_BLOCK_PICTURE=" + stringOf(vectorOf(block).toBase64()));
    result += number(fields.size(), 4, false);
    for (const auto& field : fields) result += number(field.size(), 4, false) + field;
    return result;
}

void Metadata::addFlacBlocks(const OutputPlace& place) const {
    if (texts_.empty() && pictures_.empty() && blocks_.empty()) return;
    auto blocks = flacBlocks(place.descriptor());
    const auto old = lengthOf(blocks);
    for (auto& [type, bytes] : blocks)
        if (type == comment) bytes = comments(bytes, splitForFlac().first, false);
    for (const auto& block : pictures_)
        if (block.size() < flacBlockLimit) blocks.emplace_back(picture, block);
    blocks.insert(blocks.end(), blocks_.begin(), blocks_.end());
    std::string all;
    for (const auto& [type, bytes] : blocks) {
        const bool isLast = all.size() + 4 + bytes.size() == lengthOf(blocks);
        all += static_cast<char>(type | (isLast ? 0x80 : 0));
        all += number(bytes.size(), 3, true) + bytes;
    }
    replace(place, all, 4, old);
}

void Metadata::addOggComments(const OutputPlace& place, int format) const {
    if (texts_.empty() && pictures_.empty()) return;
    const auto magic = packetMagic(format);
    const auto before = lengthOf(place);
    std::int64_t growth = 0;
    useOgg(place.descriptor(), format, [&](auto& file) {
        const auto old = stringOf(file.packet(1));
        auto packet =
            std::string(magic) + comments(std::string_view(old).substr(magic.size()), texts_, true);
        if ((format & SF_FORMAT_SUBMASK) == SF_FORMAT_VORBIS) packet += '\1';  // the framing bit
        growth = std::ssize(packet) - std::ssize(old);
        file.setPacket(1, vectorOf(packet));
        file.TagLib::Ogg::File::save();  // that of its class would write its own comments
    });
    if (growth > 0 && lengthOf(place) < before + growth) place.failToWrite(ENOSPC);
}

void Metadata::addId3(const OutputPlace& place) const {
    if (texts_.empty() && pictures_.empty() && id3_.empty()) return;
    const auto head = bytesAt(place.descriptor(), 0, 10);
    std::size_t old = 0;
    if (head.starts_with("ID3")) old = TagLib::ID3v2::Header(vectorOf(head)).completeTagSize();
    replace(place, id3Tag(), 0, old);
}

std::string Metadata::id3Tag() const {
    if (!id3_.empty()) return id3_;
    TagLib::ID3v2::Tag tag;
    TagLib::PropertyMap properties;
    for (const auto& [key, text] : texts_)
        properties[TagLib::String(key, TagLib::String::UTF8)].append(
            TagLib::String(text, TagLib::String::UTF8));
    tag.setProperties(properties);
    for (const auto& block : pictures_) {
        TagLib::FLAC::Picture flac;
        if (!flac.parse(vectorOf(block))) continue;
        auto* const frame = new TagLib::ID3v2::AttachedPictureFrame;  // the tag's from here on
        frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(flac.type()));
        frame->setMimeType(flac.mimeType());
        frame->setDescription(flac.description());
        frame->setPicture(flac.data());
        tag.addFrame(frame);
    }
    return stringOf(tag.render());
}

std::vector<std::string> Metadata::lostIn(int format) const {
    auto lost = lostAlways_;
    const auto lose = [&](const std::string& name) {
        if (!isAmong(lost, name)) lost.push_back(name);
    };
    const int family = familyOf(format);
    const bool keepsMarkers = family == SF_FORMAT_WAV || family == SF_FORMAT_AIFF;
    for (const auto& [identifier, bytes] : chunks_) {
        const bool isKept = keepsChunks(format)
                                ? identifier.size() == 4 || containerOf(format) == SF_FORMAT_W64
                                : isTextChunk(identifier, bytes) ||
                                      (keepsMarkers && isMarkerChunk(identifier, bytes));
        if (!isKept) lose(shown(identifier == "LIST" ? bytes : identifier));
    }
    if (!takesComments(format) && !takesId3(format) && !keepsChunks(format)) {
        if (!pictures_.empty()) lose("pictures");
        for (const auto& [key, text] : texts_)
            if (!isStringOf(format, key)) lose(key);
    }
    if (!keepsChunks(format)) std::ranges::for_each(lostInfo_, lose);
    if (!keepsChunks(format) && !takesId3(format)) std::ranges::for_each(lostFrames_, lose);
    if (containerOf(format) != SF_FORMAT_FLAC) {
        for (const auto& [type, bytes] : blocks_)
            lose(type == cueSheet ? "cue sheet" : "application data");
        return lost;
    }
    if (std::ranges::any_of(pictures_,
                            [](const auto& block) { return block.size() >= flacBlockLimit; }))
        lose("pictures of 16 MiB or more");
    for (const auto& [key, text] : splitForFlac().second) lose(key + " beyond 16 MiB of comments");
    return lost;
}

}  // namespace qov::cli
