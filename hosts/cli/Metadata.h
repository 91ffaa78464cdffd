#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct sf_private_tag;

namespace qov::hosts {
class OutputPlace;
}

namespace qov::cli {

using hosts::OutputPlace;

/// What a sound file carries beside its samples, on its way into another file. Formats are
/// libsndfile's numbers.
///
/// Chunks go as they are into a container of the same family: WAV, RF64 and W64; AIFF; CAF.
/// Vorbis comments keep the case of their keys in FLAC, Ogg Vorbis and Opus. ID3 frames go as they
/// are between MP3, WAV and AIFF. Between the others texts, pictures and markers are translated.
class Metadata {
 public:
    Metadata() = default;
    /// Texts by libsndfile's keys alone (SF_STR_TITLE, ...).
    explicit Metadata(std::vector<std::pair<int, std::string>> strings)
        : strings_(std::move(strings)) {}
    /// Reads it from an open file of this format; the texts alone where the descriptor cannot seek.
    Metadata(int descriptor, sf_private_tag* file, int format);

    /// Sets the texts of a file that has no samples yet and is open for writing.
    void setStrings(sf_private_tag* file, int container) const;
    /// The rest, as chunks for the header of a WAV stream.
    std::string wavChunks() const;
    /// Adds the rest to a complete file. Throws Failure where that fails.
    void addTo(const OutputPlace& place, int format) const;

    /// Names of what does not go into a file of this format: keys, frames, chunks and blocks.
    std::vector<std::string> lostIn(int format) const;

 private:
    struct Chunk {
        std::string identifier;  ///< of four letters; or 16 bytes, for one that only W64 knows
        std::string bytes;
    };
    using Texts = std::vector<std::pair<std::string, std::string>>;

    void readChunks(int descriptor);
    void readTags(int descriptor);
    void readFlac(int descriptor);
    void readInfo(std::string_view list);
    void takeComments(std::string_view comments);
    bool keepsChunks(int format) const;
    /// The chunks for a file of a family that has them, in its identifiers.
    std::vector<Chunk> chunksFor(int format) const;
    void addChunks(const OutputPlace& place, int format) const;
    void addFlacBlocks(const OutputPlace& place) const;
    void addOggComments(const OutputPlace& place, int format) const;
    void addId3(const OutputPlace& place) const;
    std::string id3Tag() const;
    std::string comments(std::string_view old, const Texts& texts, bool withPictures) const;
    /// The texts that fit into a FLAC file's block of comments, and the others.
    std::pair<Texts, Texts> splitForFlac() const;

    std::vector<std::pair<int, std::string>> strings_;  ///< by libsndfile's keys
    int format_ = 0;                                    ///< of the file that it is from
    std::vector<Chunk> chunks_;
    Texts texts_;                                      ///< by the keys of Vorbis comments
    std::vector<std::string> pictures_;                ///< as FLAC has them
    std::vector<std::pair<int, std::string>> blocks_;  ///< others of a FLAC file, by type
    std::string id3_;                                  ///< an ID3v2 tag
    std::vector<std::string> lostAlways_;              ///< chunks that are too large
    std::vector<std::string> lostInfo_;    ///< keys of RIFF's INFO that no text was made of
    std::vector<std::string> lostFrames_;  ///< ID3 frames of which nothing was made
};

}  // namespace qov::cli
