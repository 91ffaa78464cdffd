#pragma once

#include <array>
#include <cstddef>
#include <vector>

/// The effect a second time, for tests: frame by frame, in plain arithmetic, without any of the
/// system's own code. The system has to give the same bits.
class Reference {
 public:
    explicit Reference(float rate) : rate_(rate) {}

    /// A parameter by its address, 0..7 and 9 for the volume, from the next frame on.
    void set(std::size_t address, float value);

    /// The next frames, interleaved and in place, as one segment: smoothed values move by one step.
    void process(float* samples, std::size_t frames);

 private:
    /// A value that reaches its target in sixteen steps.
    struct Glide {
        float target, now, step;
        float next(float newTarget);
    };
    enum { width, panorama, phaseShift, swap, invert, recoverMono, testMono, bypass, volume = 9 };
    static constexpr std::size_t ringFrames = 2048;

    void reset();
    float delayed(float left, float before);
    void shape(float& left, float& right, float widening) const;

    float rate_;
    std::array<float, 10> set_{0.5F, 0.5F, 0, 0, 0, 0, 0, 0, 0, 1};
    Glide width_{0, 0, 0}, panorama_{0, 0, 0}, volume_{1, 1, 0};
    float pan_ = 0;
    std::vector<float> line_ = std::vector<float>(1024);  // of the left channel
    std::size_t linePlace_ = 1024, lineLength_ = 1024, askedLength_ = 1;
    float lastOut_ = 0;  // on the left
    std::array<std::array<float, 2>, ringFrames> ring_{};
    std::size_t ringPlace_ = 0;
};
