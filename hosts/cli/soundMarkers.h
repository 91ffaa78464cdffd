#pragma once

#include "hosts/cli/NamedChunk.h"

namespace qov::cli {

/// Whether a chunk holds markers, or their names: WAV's cue and adtl, AIFF's MARK.
bool isMarkerChunk(const NamedChunk& chunk);

/// The markers among the chunks of a file, as chunks of a WAV file; empty without markers.
NamedChunks markersForWav(const NamedChunks& chunks);
/// The same, as a chunk of an AIFF file; names are cut off at 255 bytes.
NamedChunks markersForAiff(const NamedChunks& chunks);

}  // namespace qov::cli
