#pragma once

#include <string>
#include <utility>
#include <vector>

#include <sndfile.h>

/// A short sound in memory, for tests. Floats and integers of any file fit its samples exactly.
struct Sound {
    int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    int rate = 44100;
    int channels = 2;
    std::int64_t silence = 0;          ///< frames before the samples; saved as a hole on the disk
    std::vector<double> samples = {};  ///< interleaved
    std::vector<std::pair<int, std::string>> strings = {};  ///< by SF_STR_TITLE and the like
};

void save(const std::string& path, const Sound& sound);
Sound load(const std::string& path);

/// Floats over the whole range -1..1; the same for the same count.
std::vector<double> noise(std::size_t count);
