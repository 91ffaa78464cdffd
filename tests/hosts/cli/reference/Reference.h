#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

/// The effect a second time, for tests: frame by frame, in plain arithmetic, without any of the
/// system's own code. The system has to give the same bits.
class Reference {
 public:
    explicit Reference(float rate) : rate_(rate) {}

    /// A parameter by its address, 0..7 and 9 for the volume, from the next frame on.
    void set(std::size_t address, float value) {
        const bool isSwitch = address >= swap && address <= bypass;
        set_.at(address) = isSwitch ? (value > 0.5F ? 1.0F : 0.0F) : value;
        if (address == phaseShift) {
            const float hundredth = rate_ / 100;
            askedLength_ = std::max<std::size_t>(1, static_cast<std::size_t>(hundredth * value));
        }
        if (address == bypass && value > 0.5F) reset();
    }

    /// The next frames, interleaved and in place, as one segment: smoothed values move by one step.
    void process(float* samples, std::size_t frames) {
        if (frames == 0) return;
        if (set_[bypass] == 0) {
            const float gain = volume_.next(set_[volume]);
            const float width2 = width_.next(std::fma(set_[width], 2.0F, -1.0F));
            const float widening = std::min(1.0F, std::max(-1.0F, width2));
            const float pan = panorama_.next(std::fma(set_[panorama], 2.0F, -1.0F));
            if (std::abs(pan) <= 1) pan_ = pan;
            float before = lastOut_;
            for (std::size_t i = 0; i < 2 * frames; i += 2) {
                float &left = samples[i], &right = samples[i + 1];
                if (gain != 1) {
                    left *= gain;
                    right *= gain;
                }
                before = left = delayed(left, before);
                shape(left, right, widening);
                if (ringPlace_ == ringFrames) ringPlace_ = 0;
                auto& stored = ring_[ringPlace_++];
                std::swap(stored[0], left);
                std::swap(stored[1], right);
            }
        }
        lastOut_ = samples[2 * frames - 2];
    }

 private:
    /// A value that reaches its target in sixteen steps.
    struct Glide {
        float target, now, step;
        float next(float newTarget) {
            if (newTarget != target) {
                target = newTarget;
                const float way = target - now;
                step = way / 16;
                if (std::abs(way) < 1e-6F) {
                    now = target;
                    step = 0;
                }
            }
            if (step == 0) return now;
            now += step;
            if (step > 0 ? now >= target : now <= target) {
                now = target;
                step = 0;
            }
            return now;
        }
    };
    enum { width, panorama, phaseShift, swap, invert, recoverMono, testMono, bypass, volume = 9 };
    static constexpr std::size_t ringFrames = 2048;

    void reset() {
        width_ = panorama_ = {0, 0, 0};
        volume_ = {1, 1, 0};
        pan_ = 0;
        std::fill(line_.begin(), line_.end(), 0.0F);
        linePlace_ = line_.size();
    }

    /// The line changes its length only where it wraps; `before` is the preceding frame.
    float delayed(float left, float before) {
        if (linePlace_ >= lineLength_) {
            linePlace_ = 0;
            if (lineLength_ != askedLength_) {
                // Only a length of the storage's own size, or a larger one, starts from silence.
                if (askedLength_ >= line_.size()) line_.assign(askedLength_, 0.0F);
                lineLength_ = askedLength_;
                line_[0] = before;
            }
        }
        return std::exchange(line_[linePlace_++], left);
    }

    /// All stages after the delay.
    void shape(float& l, float& r, float widening) const {
        if (set_[invert] > 0) l = -l;
        if (set_[swap] > 0) std::swap(l, r);
        if (set_[recoverMono] > 0) {
            const float difference = l - r;
            const auto shift = static_cast<float>(double{difference} * 0.5 * -double{set_[width]});
            l += shift;
            r += shift;
        }
        if (widening > 0) {
            const float side = (l - r) * 0.5F;
            l = std::fma(side, widening, l);
            r = std::fma(-side, widening, r);
        } else if (widening < 0) {
            const float sum = l + r, difference = l - r;
            const float fromRight = (sum - difference) * 0.5F * -widening;
            l = std::fma(l, widening + 1, fromRight);
            r = std::fma(r, widening + 1, fromRight);
        }
        if (pan_ < 0) {
            l = (pan_ * 0.4F + 1) * (r * -pan_ + l);
            r = (pan_ + 1) * r;
        } else if (pan_ > 0) {
            r = (pan_ * -0.4F + 1) * (l * pan_ + r);
            l = (1 - pan_) * l;
        }
        if (set_[testMono] > 0) l = r = (l + r) * 0.5F;
    }

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
