#include "hosts/measure/ChannelDelay.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <mutex>
#include <numbers>
#include <vector>

#include <fftw3.h>

namespace qov::measure {
namespace {

using Complex = std::complex<double>;

constexpr int lagsPerSecond = 50;  // 20 ms
/// Of two peaks that differ by less, the one at the shorter delay or of the same polarity counts.
constexpr double asStrong = 0.98;
constexpr int refinements = 6;

/// FFTW's planner is not reentrant.
std::mutex& planner() {
    static std::mutex mutex;
    return mutex;
}

/// A real signal of a length, its half spectrum, and the transforms between them.
struct Transform {
    explicit Transform(std::size_t length)
        : samples(fftwf_alloc_real(length)), spectrum(fftwf_alloc_complex(length / 2 + 1)) {
        const std::lock_guard lock(planner());
        const int size = static_cast<int>(length);
        forward = fftwf_plan_dft_r2c_1d(size, samples, spectrum, FFTW_ESTIMATE);
        backward = fftwf_plan_dft_c2r_1d(size, spectrum, samples, FFTW_ESTIMATE);
        std::fill_n(samples, length, 0.0F);
    }
    ~Transform() {
        const std::lock_guard lock(planner());
        fftwf_destroy_plan(forward);
        fftwf_destroy_plan(backward);
        fftwf_free(samples);
        fftwf_free(spectrum);
    }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;

    float* samples;
    fftwf_complex* spectrum;
    fftwf_plan forward, backward;
};

/// The vertex of the parabola through three neighbours: its place beside the middle one, and its
/// height.
struct Vertex {
    Vertex(double before, double middle, double after) : height(middle) {
        const double bend = 2 * middle - before - after;
        if (bend > 0) offset = (after - before) / (2 * bend);
        height += offset * (after - before) / 4;
    }
    double offset = 0;
    double height;
};

}  // namespace

struct ChannelDelay::State {
    /// One channel.
    struct Side {
        Side(std::size_t reach, std::size_t length)
            : window(length), transform(length), head(reach + 1) {}

        void add(const float* samples, std::size_t count, std::size_t at, std::size_t before) {
            std::copy_n(samples, count, &window[at]);
            for (std::size_t n = before; n < before + count && n + 1 < head.size(); ++n)
                head[n + 1] = head[n] + samples[n - before];
        }

        std::vector<float> window;  ///< `reach` frames of before, then new ones
        Transform transform;
        double sum = 0;            ///< of all samples, at the end
        std::vector<double> head;  ///< sums of the first n samples
        std::vector<double> tail;  ///< sums of the last n samples, at the end
    };

    explicit State(int rate)
        : reach(std::max<std::size_t>(static_cast<std::size_t>(rate) / lagsPerSecond, 4)),
          length(std::bit_ceil(4 * reach)),
          left(reach, length),
          right(reach, length),
          filled(reach),
          cross(length / 2 + 1) {}

    void add(const float* l, const float* r, std::size_t count) {
        while (count > 0) {
            const auto taken = std::min(count, length - filled);
            left.add(l, taken, filled, frames);
            right.add(r, taken, filled, frames);
            frames += taken;
            filled += taken;
            if (filled == length) endBlock();
            l += taken;
            r += taken;
            count -= taken;
        }
    }

    /// All of the left window but `reach` frames at both ends meets all of the right one, so that
    /// no lag within reach wraps round.
    void endBlock() {
        const auto inner = length - 2 * reach;
        std::copy_n(&left.window[reach], inner, left.transform.samples + reach);
        std::copy_n(right.window.data(), length, right.transform.samples);
        for (auto* const side : {&left, &right}) {
            fftwf_execute(side->transform.forward);
            std::copy_n(&side->window[inner], 2 * reach, side->window.begin());
        }
        for (std::size_t k = 0; k < cross.size(); ++k) {
            const Complex l{left.transform.spectrum[k][0], left.transform.spectrum[k][1]};
            const Complex r{right.transform.spectrum[k][0], right.transform.spectrum[k][1]};
            cross[k] += Complex{l.real() * r.real() + l.imag() * r.imag(),
                                l.real() * r.imag() - l.imag() * r.real()};
        }
        filled = 2 * reach;
    }

    /// Transforms the frames that are left, and behind them the lags that reach beyond the end.
    void end() {
        for (auto* const side : {&left, &right}) {
            side->tail.resize(reach + 1);
            for (std::size_t n = 1; n <= reach; ++n)
                side->tail[n] = side->tail[n - 1] + side->window[filled - n];
        }
        const auto whole = frames;
        const std::vector<float> silence(length);
        add(silence.data(), silence.data(), length);
        frames = whole;
    }

    /// What the means add to c at a lag: c is then that of the signals less their means.
    double shareOfMeans(std::int64_t lag) const {
        const auto n = static_cast<std::size_t>(std::abs(lag));
        const auto count = static_cast<double>(frames);
        const double overlap = std::max(0.0, count - static_cast<double>(n));
        const auto& first = lag < 0 ? left : right;  // loses its first n frames to the overlap
        const auto& last = lag < 0 ? right : left;
        return (first.sum * (last.sum - last.tail[n]) + last.sum * (first.sum - first.head[n]) -
                first.sum * last.sum * overlap / count) /
               count;
    }

    /// Takes the means out of the cross-spectrum; beyond reach by a straight line, which rings
    /// least.
    void removeMeans() {
        const auto edge = static_cast<std::int64_t>(reach);
        const double after = shareOfMeans(edge);
        const double slope =
            (shareOfMeans(-edge) - after) / static_cast<double>(length - 2 * reach);
        float* const values = left.transform.samples;
        for (std::size_t i = 0; i < length; ++i) {
            const auto lag = static_cast<std::int64_t>(i);
            const auto wrapped = lag - static_cast<std::int64_t>(length);
            values[i] = static_cast<float>(lag <= edge ? shareOfMeans(lag)
                                           : wrapped >= -edge
                                               ? shareOfMeans(wrapped)
                                               : after + slope * static_cast<double>(lag - edge));
        }
        fftwf_execute(left.transform.forward);
        for (std::size_t k = 0; k < cross.size(); ++k)
            cross[k] -= Complex{left.transform.spectrum[k][0], left.transform.spectrum[k][1]};
    }

    /// c at the lags -reach..reach, divided by `scale`.
    std::vector<double> lags(double scale) {
        auto& transform = left.transform;
        for (std::size_t k = 0; k < cross.size(); ++k) {
            transform.spectrum[k][0] = static_cast<float>(cross[k].real() / scale);
            transform.spectrum[k][1] = static_cast<float>(cross[k].imag() / scale);
        }
        fftwf_execute(transform.backward);
        std::vector<double> values(2 * reach + 1);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = transform.samples[(i + length - reach) % length];
        return values;
    }

    /// c and its first two derivatives at a lag in frames.
    std::array<double, 3> at(double lag) const {
        std::array<double, 3> result{cross[0].real(), 0, 0};
        const double step = 2 * std::numbers::pi / static_cast<double>(length);
        const Complex turn = std::polar(1.0, step * lag);
        Complex rotor = 1;
        for (std::size_t k = 1; k < cross.size(); ++k) {
            rotor *= turn;
            const double weight = 2 * k == length ? 1 : 2;
            const double frequency = step * static_cast<double>(k);
            const double real = cross[k].real() * rotor.real() - cross[k].imag() * rotor.imag();
            const double imaginary =
                cross[k].real() * rotor.imag() + cross[k].imag() * rotor.real();
            result[0] += weight * real;
            result[1] -= weight * frequency * imaginary;
            result[2] -= weight * frequency * frequency * real;
        }
        for (auto& value : result) value /= static_cast<double>(length);
        return result;
    }

    const std::size_t reach;   ///< greatest lag, in frames
    const std::size_t length;  ///< of a block with `reach` more frames on both sides
    Side left, right;
    std::size_t filled;          ///< frames of the windows
    std::int64_t frames = 0;     ///< of the signal
    std::vector<Complex> cross;  ///< sum of conj(spectrum of L) * spectrum of R
};

namespace {

/// The peak of values about the middle one: in order of delay, the first as strong as any.
struct Peak {
    Peak(const std::vector<double>& values, double sign) {
        const auto middle = static_cast<std::int64_t>(values.size() / 2);
        const auto consider = [&](std::int64_t at) {
            const auto value = [&](std::int64_t i) {
                return sign * values[static_cast<std::size_t>(middle + i)];
            };
            if (value(at) < value(at - 1) || value(at) < value(at + 1)) return;
            const Vertex vertex(value(at - 1), value(at), value(at + 1));
            if (vertex.height * asStrong <= height) return;
            height = vertex.height;
            lag = at;
            offset = vertex.offset;
        };
        for (std::int64_t distance = 0; distance < middle; ++distance) {
            consider(distance);
            if (distance > 0) consider(-distance);
        }
    }
    double height = 0;
    std::int64_t lag = 0;
    double offset = 0;
};

}  // namespace

ChannelDelay::ChannelDelay(int rate) : state_(std::make_unique<State>(rate)) {}

ChannelDelay::~ChannelDelay() = default;

void ChannelDelay::add(const float* left, const float* right, std::size_t frames) {
    state_->add(left, right, frames);
}

ChannelDelay::Result ChannelDelay::finish(double leftSum, double rightSum) {
    auto& state = *state_;
    if (state.frames == 0) return {};
    state.left.sum = leftSum;
    state.right.sum = rightSum;
    state.end();
    state.removeMeans();
    double scale = 0;
    for (const auto& bin : state.cross) scale = std::max(scale, std::abs(bin));
    if (!(scale > 0 && std::isfinite(scale))) return {};
    const auto values = state.lags(scale);
    const Peak same(values, 1);
    const Peak opposite(values, -1);
    const bool isOpposite = opposite.height * asStrong > same.height;
    const Peak& peak = isOpposite ? opposite : same;
    if (!(peak.height > 0)) return {};
    const auto whole = static_cast<double>(peak.lag);
    double lag = whole + peak.offset;
    for (int i = 0; i < refinements; ++i) {
        const auto [value, slope, bend] = state.at(lag);
        if (!(isOpposite ? bend > 0 : bend < 0)) break;
        lag = std::clamp(lag - slope / bend, whole - 1, whole + 1);
    }
    return {-lag, state.at(lag)[0]};
}

}  // namespace qov::measure
