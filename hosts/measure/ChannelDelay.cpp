#include "hosts/measure/ChannelDelay.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

#include "hosts/measure/FourierTransform.h"

namespace qov::measure {
namespace {

using Complex = std::complex<double>;

constexpr int lagsPerSecond = 50;  // 20 ms
/// Of two peaks that differ by less, the one at the shorter delay or of the same polarity counts.
constexpr double asStrong = 0.98;
constexpr int refinements = 6;

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
            : window(2 * (length - reach)), transform(length), head(reach + 1) {}

        void add(const float* samples, std::size_t count, std::size_t at, std::size_t before) {
            std::copy_n(samples, count, &window[at]);
            for (std::size_t n = before; n < before + count && n + 1 < head.size(); ++n)
                head[n + 1] = head[n] + samples[n - before];
        }

        /// The spectrum of the window's two blocks as the parts of one complex signal; of each
        /// only the frames `from` to `to`.
        void transformBlocks(std::size_t from, std::size_t to) {
            const float* block = window.data();
            for (auto* const part : {&transform.real, &transform.imaginary}) {
                std::fill(part->begin(), part->end(), 0.0F);
                std::copy(block + from, block + to, part->data() + from);
                block += window.size() - part->size();
            }
            transform.run();
        }

        std::vector<float> window;  ///< `reach` frames of before, then those of two blocks
        FourierTransform transform;
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
          cross(length) {}

    void add(const float* l, const float* r, std::size_t count) {
        while (count > 0) {
            const auto taken = std::min(count, left.window.size() - filled);
            left.add(l, taken, filled, frames);
            right.add(r, taken, filled, frames);
            frames += taken;
            filled += taken;
            if (filled == left.window.size()) endBlocks();
            l += taken;
            r += taken;
            count -= taken;
        }
    }

    /// All of a left block but `reach` frames at both ends meets all of the right one, so that no
    /// lag within reach wraps round. The real part of the complex signals' correlation is the sum
    /// of both blocks' correlations.
    void endBlocks() {
        left.transformBlocks(reach, length - reach);
        right.transformBlocks(0, length);
        for (auto* const side : {&left, &right})
            std::copy(side->window.end() - static_cast<std::ptrdiff_t>(2 * reach),
                      side->window.end(), side->window.begin());
        for (std::size_t k = 0; k < length; ++k) {
            const Complex l{left.transform.real[k], left.transform.imaginary[k]};
            const Complex r{right.transform.real[k], right.transform.imaginary[k]};
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
        const std::vector<float> silence(left.window.size());
        add(silence.data(), silence.data(), silence.size());
        frames = whole;
        // The spectrum of the correlation's real part, of which one half tells all.
        cross[0].imag(0);
        for (std::size_t k = 1; k <= length / 2; ++k)
            cross[k] = (cross[k] + std::conj(cross[length - k])) / 2.0;
        cross.resize(length / 2 + 1);
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
        auto& transform = left.transform;
        std::fill(transform.imaginary.begin(), transform.imaginary.end(), 0.0F);
        for (std::size_t i = 0; i < length; ++i) {
            const auto lag = static_cast<std::int64_t>(i);
            const auto wrapped = lag - static_cast<std::int64_t>(length);
            transform.real[i] = static_cast<float>(
                lag <= edge        ? shareOfMeans(lag)
                : wrapped >= -edge ? shareOfMeans(wrapped)
                                   : after + slope * static_cast<double>(lag - edge));
        }
        transform.run();
        for (std::size_t k = 0; k < cross.size(); ++k)
            cross[k] -= Complex{transform.real[k], transform.imaginary[k]};
    }

    /// c at the lags -reach..reach, divided by `scale`.
    std::vector<double> lags(double scale) {
        auto& transform = left.transform;
        // The transform of the conjugate is the conjugate of the way back.
        for (std::size_t k = 0; k < length; ++k) {
            const bool isUpper = k >= cross.size();
            const auto& bin = cross[isUpper ? length - k : k];
            transform.real[k] = static_cast<float>(bin.real() / scale);
            transform.imaginary[k] = static_cast<float>((isUpper ? 1 : -1) * bin.imag() / scale);
        }
        transform.run();
        std::vector<double> values(2 * reach + 1);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = transform.real[(i + length - reach) % length];
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
    std::vector<Complex> cross;  ///< sum of conj(spectrum of L) * spectrum of R; at the end half
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
