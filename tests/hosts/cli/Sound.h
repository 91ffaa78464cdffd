#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A short sound in memory, for tests: interleaved.
template <typename Sample>
struct Sound {
    int format = 0;
    int rate = 44100;
    int channels = 2;
    std::vector<Sample> samples;
};

void save(const std::string& path, const Sound<float>& sound);
void save(const std::string& path, const Sound<std::int32_t>& sound);
void save(const std::string& path, const Sound<double>& sound);
Sound<float> loadFloats(const std::string& path);
Sound<std::int32_t> loadIntegers(const std::string& path);
Sound<double> loadDoubles(const std::string& path);

/// Noise over the whole range of the type; the same for the same count.
std::vector<float> noise(std::size_t count);
