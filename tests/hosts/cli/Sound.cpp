#include "tests/hosts/cli/Sound.h"

#include <random>

#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

template <typename Sample>
void saveWith(const std::string& path, const Sound<Sample>& sound,
              sf_count_t (*write)(SNDFILE*, const Sample*, sf_count_t)) {
    SF_INFO info{};
    info.format = sound.format;
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    write(file, sound.samples.data(), std::ssize(sound.samples));
    sf_close(file);
}

template <typename Sample>
Sound<Sample> loadWith(const std::string& path, sf_count_t (*read)(SNDFILE*, Sample*, sf_count_t)) {
    Sound<Sample> sound;
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (!file) return sound;
    sound.format = info.format;
    sound.channels = info.channels;
    sound.rate = info.samplerate;
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    read(file, sound.samples.data(), std::ssize(sound.samples));
    sf_close(file);
    return sound;
}

}  // namespace

void save(const std::string& path, const Sound<float>& sound) {
    saveWith(path, sound, sf_write_float);
}

void save(const std::string& path, const Sound<std::int32_t>& sound) {
    saveWith(path, sound, sf_write_int);
}

void save(const std::string& path, const Sound<double>& sound) {
    saveWith(path, sound, sf_write_double);
}

Sound<float> loadFloats(const std::string& path) {
    return loadWith(path, sf_read_float);
}

Sound<std::int32_t> loadIntegers(const std::string& path) {
    return loadWith(path, sf_read_int);
}

Sound<double> loadDoubles(const std::string& path) {
    return loadWith(path, sf_read_double);
}

std::vector<float> noise(std::size_t count) {
    std::mt19937 random(7);
    std::vector<float> samples(count);
    for (auto& sample : samples)
        sample = static_cast<float>(static_cast<std::int32_t>(random())) / 2147483648.0F;
    return samples;
}
