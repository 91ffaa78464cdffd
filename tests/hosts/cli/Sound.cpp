#include "tests/hosts/cli/Sound.h"

#include <random>

#include <gtest/gtest.h>

void save(const std::string& path, const Sound& sound) {
    SF_INFO info{};
    info.format = sound.format;
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    for (const auto& [key, text] : sound.strings) sf_set_string(file, key, text.c_str());
    if (sound.silence > 0) sf_seek(file, sound.silence, SEEK_SET);
    sf_write_double(file, sound.samples.data(), std::ssize(sound.samples));
    sf_close(file);
}

Sound load(const std::string& path) {
    SF_INFO info{};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (!file) return {};
    Sound sound{info.format, info.samplerate, info.channels};
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    sf_read_double(file, sound.samples.data(), std::ssize(sound.samples));
    for (int key = SF_STR_FIRST; key <= SF_STR_LAST; ++key)
        if (const char* text = sf_get_string(file, key)) sound.strings.emplace_back(key, text);
    sf_close(file);
    return sound;
}

std::vector<double> noise(std::size_t count) {
    std::mt19937 random(7);
    std::vector<double> samples(count);
    for (auto& sample : samples)
        sample = double{static_cast<float>(static_cast<std::int32_t>(random()))} / 2147483648.0;
    return samples;
}
