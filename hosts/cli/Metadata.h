#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/cli/soundChunks.h"
#include "hosts/cli/soundMarkers.h"

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
/// are between MP3, WAV, RF64, W64 and AIFF. Between the others texts, pictures and markers are
/// translated. Of RIFX, whose numbers are in the other byte order, only the texts go along.
class Metadata {
 public:
    using Texts = std::vector<std::pair<std::string, std::string>>;

    Metadata() = default;
    /// Nothing but texts, by the keys of Vorbis comments (TITLE, ARTIST, ...).
    explicit Metadata(Texts texts) : texts_(std::move(texts)) {}
    /// Reads it from an open file of this format; the texts alone where the descriptor cannot seek.
    Metadata(int descriptor, const std::optional<SoundChunks>& chunks, sf_private_tag* file,
             int format);

    /// Sets the texts of a file that has no samples yet and is open for writing.
    void setStrings(sf_private_tag* file, int format) const;
    /// All of it as chunks for the header of a WAV stream.
    std::string wavChunks() const;
    /// Adds what setStrings() does not set to a complete file. Throws Failure where that fails.
    void addTo(const OutputPlace& place, int format) const;

    /// Names of what does not go into a file of this format: keys, frames, chunks and blocks.
    std::vector<std::string> lostIn(int format) const;

 private:
    void readChunks(int descriptor, const SoundChunks& chunks);
    void readTags(int descriptor);
    void readInfo(const std::string& list);
    void takeComments(std::string_view comments);
    /// Whether a file of this format gets the chunks as they are.
    bool keepsChunks(int format) const;
    /// Whether they have the texts in them.
    bool keepsTexts(int format) const;
    /// The chunks for a file of a family that has them; identifiers of four letters.
    NamedChunks chunksFor(int format) const;
    void addChunks(const OutputPlace& place, int format) const;
    void addFlacBlocks(const OutputPlace& place) const;
    void addOggComments(const OutputPlace& place, int format) const;
    void addId3(const OutputPlace& place) const;
    std::string id3Tag() const;
    std::string comments(std::string_view old, const Texts& texts, bool withPictures) const;
    /// The texts that fit into a FLAC file's block of comments, and the others.
    std::pair<Texts, Texts> splitForFlac() const;

    int format_ = 0;  ///< of the file that it is from
    NamedChunks chunks_;
    Texts texts_;                                      ///< by the keys of Vorbis comments
    std::vector<std::string> pictures_;                ///< as FLAC has them
    std::vector<std::pair<int, std::string>> blocks_;  ///< others of a FLAC file, by type
    std::string id3_;                                  ///< an ID3v2 tag
    std::vector<std::string> lostAlways_;              ///< what no output has a place for
    std::vector<std::string> lostInfo_;    ///< keys of RIFF's INFO that no text was made of
    std::vector<std::string> lostFrames_;  ///< ID3 frames of which nothing was made
};

}  // namespace qov::cli
