#include "hosts/cli/Metadata.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

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

#include "hosts/cli/fileBytes.h"
#include "hosts/cli/soundChunks.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

using namespace std::literals;

constexpr unsigned maskOf(std::initializer_list<int> keys) {
    unsigned mask = 0;
    for (const int key : keys) mask |= 1U << key;
    return mask;
}

/// A container, and what it takes beside its samples.
struct Place {
    int container = 0;
    int family = 0;        ///< containers of one family take each other's chunks; 0: no chunks
    unsigned strings = 0;  ///< the texts that libsndfile writes there, by bit
    bool takesComments = false;
    bool takesId3 = false;
};
constexpr unsigned allStrings = ~0U;
constexpr unsigned riffStrings = ~maskOf({SF_STR_LICENSE});
constexpr std::array places{
    Place{SF_FORMAT_WAV, SF_FORMAT_WAV, riffStrings, false, true},
    Place{SF_FORMAT_WAVEX, SF_FORMAT_WAV, riffStrings, false, true},
    Place{SF_FORMAT_RF64, SF_FORMAT_WAV, riffStrings, false, true},
    Place{SF_FORMAT_W64, SF_FORMAT_WAV, 0, false, true},
    Place{SF_FORMAT_AIFF, SF_FORMAT_AIFF,
          maskOf({SF_STR_TITLE, SF_STR_COPYRIGHT, SF_STR_SOFTWARE, SF_STR_ARTIST, SF_STR_COMMENT}),
          false, true},
    Place{SF_FORMAT_CAF, SF_FORMAT_CAF, allStrings, false, false},
    Place{SF_FORMAT_FLAC, 0, 0, true, false},
    Place{SF_FORMAT_OGG, 0, 0, true, false},
    Place{SF_FORMAT_MPEG, 0, 0, false, true},
};

Place placeOf(int format) {
    const auto* const found =
        std::ranges::find(places, format & SF_FORMAT_TYPEMASK, &Place::container);
    return found == places.end() ? Place{} : *found;
}

/// A text's key in Vorbis comments, in libsndfile and in RIFF's INFO list.
struct Key {
    std::string_view name;
    int string;
    std::string_view info;  ///< empty: none
};
constexpr std::array textKeys{
    Key{"TITLE", SF_STR_TITLE, "INAM"},
    Key{"COPYRIGHT", SF_STR_COPYRIGHT, "ICOP"},
    Key{"ENCODER", SF_STR_SOFTWARE, "ISFT"},
    Key{"ARTIST", SF_STR_ARTIST, "IART"},
    Key{"COMMENT", SF_STR_COMMENT, "ICMT"},
    Key{"DATE", SF_STR_DATE, "ICRD"},
    Key{"ALBUM", SF_STR_ALBUM, "IPRD"},
    Key{"LICENSE", SF_STR_LICENSE, ""},
    Key{"TRACKNUMBER", SF_STR_TRACKNUMBER, "ITRK"},
    Key{"GENRE", SF_STR_GENRE, "IGNR"},
};

/// Chunks that describe the samples or pad the file: the output has its own.
constexpr std::array ownChunks{"fmt "sv, "fact"sv, "PEAK"sv, "JUNK"sv, "ds64"sv, "levl"sv,
                               "COMM"sv, "FVER"sv, "desc"sv, "pakt"sv, "kuki"sv, "chan"sv,
                               "free"sv, "peak"sv, "FLLR"sv, "PAD "sv, "junk"sv};
/// Chunks whose texts are also among libsndfile's strings or in an ID3 tag.
constexpr std::array textChunks{"NAME"sv, "AUTH"sv, "ANNO"sv, "(c) "sv,
                                "info"sv, "strg"sv, "id3 "sv, "ID3 "sv};
/// Chunks without numbers in the file's byte order.
constexpr std::array orderlessChunks{"iXML"sv, "axml"sv, "_PMX"sv, "id3 "sv, "ID3 "sv};
constexpr std::int64_t largestChunk = 64 << 20;
/// A metadata block of FLAC is smaller, as its size has 24 bits.
constexpr std::size_t flacBlockLimit = 1 << 24;
/// Of the block of comments, for the encoder's name and the counts.
constexpr std::size_t commentReserve = 4096;

/// How W64 writes identifiers of four letters.
constexpr auto w64Tail = "\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A"sv;
constexpr auto w64List = "list\x2F\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv;

enum FlacBlock { application = 2, comment = 4, cueSheet = 5, picture = 6 };

bool isAmong(const auto& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

/// Whether two keys differ in nothing but upper and lower case.
bool isSameKey(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

/// The first text of a key; the end of the texts where they lack it.
auto findKey(const Metadata::Texts& texts, std::string_view key) {
    return std::ranges::find_if(texts,
                                [&](const auto& text) { return isSameKey(text.first, key); });
}

/// Whether libsndfile writes the text of a key into a file of this format.
bool isStringOf(int format, std::string_view name) {
    return std::ranges::any_of(textKeys, [&](const Key& key) {
        return isSameKey(key.name, name) && (placeOf(format).strings >> key.string & 1) != 0;
    });
}

bool isTextChunk(const NamedChunk& chunk) {
    return isAmong(textChunks, chunk.identifier) || chunk.isList("INFO");
}

/// An identifier as messages have it.
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
        lseek(descriptor, 0, SEEK_SET);  // TagLib reads RIFF files from the position on
        return dup(descriptor);
    }
    TagLib::FileStream stream;
    File file;
};

/// The block of FLAC for an ID3 picture.
std::string pictureBlock(const TagLib::ID3v2::AttachedPictureFrame& frame) {
    TagLib::FLAC::Picture block;
    block.setType(static_cast<TagLib::FLAC::Picture::Type>(frame.type()));
    block.setMimeType(frame.mimeType());
    block.setDescription(frame.description());
    block.setData(frame.picture());
    return stringOf(block.render());
}

void put(const OutputPlace& place, const std::string& bytes, std::size_t at) {
    errno = 0;
    if (pwrite(place.descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(at)) !=
        std::ssize(bytes))
        place.failToWrite(errno != 0 ? errno : ENOSPC);
}

/// Puts bytes in place of others, which may be of another length.
void replace(const OutputPlace& place, const std::string& bytes, std::size_t at, std::size_t old) {
    const auto expected =
        fileLength(place.descriptor()) + std::ssize(bytes) - static_cast<std::int64_t>(old);
    {
        TagLib::FileStream stream(dup(place.descriptor()), false);
        stream.insert(vectorOf(bytes), at, old);
    }
    if (fileLength(place.descriptor()) != expected) place.failToWrite(ENOSPC);
}

/// Bytes of the ID3v2 tag that a file begins with; 0 without one.
std::int64_t id3Size(int descriptor) {
    const auto head = readAt(descriptor, 0, 10);
    return head.starts_with("ID3") ? TagLib::ID3v2::Header(vectorOf(head)).completeTagSize() : 0;
}

using Blocks = std::vector<std::pair<int, std::string>>;

/// The metadata blocks of a FLAC file, by type; without padding.
Blocks flacBlocks(int descriptor) {
    Blocks blocks;
    const auto start = id3Size(descriptor);
    bool isLast = readAt(descriptor, start, 4) != "fLaC";
    for (auto at = start + 4; !isLast;) {
        const auto header = readAt(descriptor, at, 4);
        if (header.size() < 4) break;
        isLast = (header[0] & 0x80) != 0;
        const auto size = static_cast<std::int64_t>(numberAt(header, 1, 3, big));
        blocks.emplace_back(header[0] & 0x7F, readAt(descriptor, at + 4, size));
        at += 4 + size;
    }
    return blocks;
}

std::size_t lengthOf(const Blocks& blocks) {
    std::size_t length = 0;
    for (const auto& [type, bytes] : blocks) length += 4 + bytes.size();
    return length;
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

Metadata::Metadata(int descriptor, const std::optional<SoundChunks>& chunks, SNDFILE* file,
                   int format)
    : format_(format) {
    if (fileLength(descriptor) >= 0) {
        const auto position = lseek(descriptor, 0, SEEK_CUR);
        if (chunks && placeOf(format_).family != 0) readChunks(descriptor, *chunks);
        readTags(descriptor);
        lseek(descriptor, position, SEEK_SET);  // TagLib moves it
    }
    for (const auto& key : textKeys) {
        // Of AIFF, libsndfile ends that text with whatever its buffer held; it stays in its chunk.
        if (key.string == SF_STR_SOFTWARE && placeOf(format).family == SF_FORMAT_AIFF) continue;
        if (const char* text = sf_get_string(file, key.string);
            text && *text != 0 && findKey(texts_, key.name) == texts_.end())
            texts_.emplace_back(key.name, text);
    }
}

void Metadata::readChunks(int descriptor, const SoundChunks& chunks) {
    const bool isRifx = readAt(descriptor, 0, 4) == "RIFX";
    for (const auto& chunk : chunks.others) {
        auto identifier = chunk.identifier;
        if (identifier == w64List)
            identifier = "LIST";
        else if (identifier.ends_with(w64Tail))
            identifier.resize(4);
        if (isAmong(ownChunks, identifier)) continue;
        if (chunk.size > largestChunk) {
            lostAlways_.push_back(
                shown(identifier == "LIST" ? readAt(descriptor, chunk.start, 4) : identifier) +
                " of more than 64 MiB");
            continue;
        }
        auto bytes = readAt(descriptor, chunk.start, chunk.size);
        if (isRifx && !isAmong(orderlessChunks, identifier)) {  // libsndfile reads its INFO
            const auto name = shown(identifier == "LIST" ? bytes : identifier);
            if (name != "INFO") lostAlways_.push_back(name);
            continue;
        }
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
    switch (placeOf(format_).container) {
        case SF_FORMAT_FLAC:
            if (id3Size(descriptor) > 0) lostAlways_.push_back("ID3 tag before its FLAC stream");
            for (auto& [type, bytes] : flacBlocks(descriptor)) {
                if (type == comment)
                    takeComments(bytes);
                else if (type == picture)
                    pictures_.push_back(std::move(bytes));
                else if (type == application || type == cueSheet)
                    blocks_.emplace_back(type, std::move(bytes));
            }
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
            if (!tagged.file.hasID3v2Tag()) break;
            id3_ = stringOf(tagged.file.ID3v2Tag()->render());
            if (tagged.file.hasAPETag()) lostAlways_.push_back("APE tag");
            break;
        }
        default:
            if (!id3_.empty()) {
                TagLib::ByteVectorStream stream(vectorOf(id3_));
                TagLib::MPEG::File file(&stream, factory, false);
                if (file.hasID3v2Tag()) takeProperties(file.ID3v2Tag()->properties());
                takeId3(file.ID3v2Tag());
            }
            for (const auto& chunk : chunks_)
                if (chunk.isList("INFO")) readInfo(chunk.bytes);
    }
}

void Metadata::readInfo(const std::string& list) {
    for (const auto& [identifier, bytes] : chunksInList(list)) {
        const auto* const key =
            std::ranges::find(textKeys, std::string_view(identifier), &Key::info);
        const auto text = bytes.substr(0, bytes.find('\0'));
        if (key == textKeys.end())
            lostInfo_.push_back(shown(identifier));
        else if (!text.empty() && findKey(texts_, key->name) == texts_.end())
            texts_.emplace_back(key->name, text);
    }
}

void Metadata::takeComments(std::string_view comments) {
    const auto vendor = numberAt(comments, 0, 4, little);
    std::size_t at = 4 + vendor + 4;
    for (auto count = numberAt(comments, 4 + vendor, 4, little);
         count > 0 && at + 4 <= comments.size(); --count) {
        const auto size = numberAt(comments, at, 4, little);
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
    const int family = placeOf(format).family;
    return family != 0 && family == placeOf(format_).family;
}

bool Metadata::keepsTexts(int format) const {
    return keepsChunks(format) && std::ranges::any_of(chunks_, isTextChunk);
}

void Metadata::setStrings(SNDFILE* file, int format) const {
    if (keepsTexts(format)) return;
    for (const auto& key : textKeys)
        if (const auto text = findKey(texts_, key.name);
            text != texts_.end() && (text->second.size() < flacBlockLimit - commentReserve ||
                                     !placeOf(format).takesComments))
            sf_set_string(file, key.string, text->second.c_str());
}

NamedChunks Metadata::chunksFor(int format) const {
    NamedChunks result;
    const auto place = placeOf(format);
    if (keepsChunks(format)) {
        for (const auto& chunk : chunks_)
            if (chunk.identifier.size() == 4 || place.container == SF_FORMAT_W64)
                result.push_back(chunk);
        return result;
    }
    if (place.family == SF_FORMAT_WAV) result = markersForWav(chunks_);
    if (place.family == SF_FORMAT_AIFF) result = markersForAiff(chunks_);
    const bool needsId3 =
        !id3_.empty() || !pictures_.empty() || std::ranges::any_of(texts_, [&](const auto& text) {
            return !isStringOf(format, text.first);
        });
    if (place.takesId3 && needsId3)
        result.push_back({place.family == SF_FORMAT_WAV ? "id3 " : "ID3 ", id3Tag()});
    return result;
}

std::string Metadata::wavChunks() const {
    std::string all, info = "INFO";
    for (const auto& key : textKeys)
        if (const auto text = findKey(texts_, key.name); text != texts_.end() && !key.info.empty())
            info += riffChunk(std::string(key.info), text->second + '\0');
    if (info.size() > 4 && !keepsTexts(SF_FORMAT_WAV)) all = riffChunk("LIST", info);
    for (const auto& [identifier, bytes] : chunksFor(SF_FORMAT_WAV))
        all += riffChunk(identifier, bytes);
    return all;
}

void Metadata::addTo(const OutputPlace& place, int format) const {
    switch (placeOf(format).container) {
        case SF_FORMAT_FLAC:
            return addFlacBlocks(place);
        case SF_FORMAT_OGG:
            return addOggComments(place, format);
        case SF_FORMAT_MPEG:
            return addId3(place);
        default:
            return addChunks(place, format);
    }
}

void Metadata::addChunks(const OutputPlace& place, int format) const {
    const auto chunks = chunksFor(format);
    if (chunks.empty()) return;
    const auto length = static_cast<std::size_t>(fileLength(place.descriptor()));
    // libsndfile makes a WAV of an RF64 that stayed below 4 GiB.
    const auto magic = readAt(place.descriptor(), 0, 4);
    const auto order = placeOf(format).family == SF_FORMAT_WAV ? little : big;
    const bool isCaf = magic == "caff";
    const bool isW64 = magic == "riff";
    const std::size_t alignment = isW64 ? 8 : isCaf ? 1 : 2;
    // libsndfile takes what follows the samples of W64 for more of them.
    const auto at =
        isW64 ? static_cast<std::size_t>(readSoundChunks(place.descriptor())->start) - 24 : length;
    std::string added;
    for (const auto& [identifier, bytes] : chunks) {
        while ((at + added.size()) % alignment != 0) added += '\0';
        if (!isW64)
            added += identifier;
        else if (identifier == "LIST")
            added += w64List;
        else
            added += identifier.size() == 4 ? identifier + std::string(w64Tail) : identifier;
        added += bytesOf(bytes.size() + (isW64 ? 24 : 0), isW64 || isCaf ? 8 : 4, order);
        added += bytes;
    }
    while ((at + added.size()) % alignment != 0) added += '\0';
    const auto total = length + added.size();
    if (!isW64 && !isCaf && magic != "RF64" && total > 0xFFFFFFFF) return;
    if (isW64)
        replace(place, added, at, 0);
    else
        put(place, added, at);
    if (magic == "RF64")
        put(place, bytesOf(total - 8, 8, little), 20);
    else if (isW64)
        put(place, bytesOf(total, 8, little), 16);
    else if (!isCaf)
        put(place, bytesOf(total - 8, 4, order), 4);
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
    auto result =
        std::string(old.substr(0, 4 + numberAt(old, 0, 4, little)));  // the encoder's name
    std::vector<std::string> fields;
    for (const auto& [key, text] : texts) fields.push_back(fmt::format("{}={}", key, text));
    if (withPictures)
        for (const auto& block : pictures_)
            fields.push_back("METADATA_BLOCK_PICTURE=" + stringOf(vectorOf(block).toBase64()));
    result += bytesOf(fields.size(), 4, little);
    for (const auto& field : fields) result += bytesOf(field.size(), 4, little) + field;
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
        all += bytesOf(bytes.size(), 3, big) + bytes;
    }
    replace(place, all, 4, old);
}

void Metadata::addOggComments(const OutputPlace& place, int format) const {
    if (texts_.empty() && pictures_.empty()) return;
    const auto magic = packetMagic(format);
    const auto before = fileLength(place.descriptor());
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
    if (growth > 0 && fileLength(place.descriptor()) < before + growth) place.failToWrite(ENOSPC);
}

void Metadata::addId3(const OutputPlace& place) const {
    if (texts_.empty() && pictures_.empty() && id3_.empty()) return;
    replace(place, id3Tag(), 0, static_cast<std::size_t>(id3Size(place.descriptor())));
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
    const auto place = placeOf(format);
    const bool keepsAll = keepsChunks(format);
    const bool keepsMarkers = place.family == SF_FORMAT_WAV || place.family == SF_FORMAT_AIFF;
    for (const auto& chunk : chunks_) {
        const auto& [identifier, bytes] = chunk;
        const bool isKept = keepsAll ? identifier.size() == 4 || place.container == SF_FORMAT_W64
                                     : isTextChunk(chunk) || (keepsMarkers && isMarkerChunk(chunk));
        if (!isKept) lose(shown(identifier == "LIST" ? bytes : identifier));
        if (isKept && !keepsAll &&
            chunk.isList("adtl"))  // only the names of markers are translated
            for (const auto& item : chunksInList(bytes))
                if (item.identifier != "labl") lose(shown(item.identifier));
    }
    if (!place.takesComments && !place.takesId3 && !keepsAll) {
        if (!pictures_.empty()) lose("pictures");
        for (const auto& [key, text] : texts_)
            if (!isStringOf(format, key)) lose(key);
    }
    if (!keepsAll) std::ranges::for_each(lostInfo_, lose);
    if (!keepsAll && !place.takesId3) std::ranges::for_each(lostFrames_, lose);
    if (place.container != SF_FORMAT_FLAC) {
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
