// The hot loops of the chain, compiled once for each form of the processor: QOV_VARIANT names the
// namespace. Nothing here may call an inline function of the standard library: the linker keeps one
// copy of such a function, and it could be one that this processor cannot run.

#include <utility>

#include "dsp/ChainLoops.h"
#include "dsp/stageFormulas.h"

// Frames of one index may share memory; frames of different indices never do.
#ifdef __clang__
#define QOV_INDEPENDENT_FRAMES _Pragma("clang loop vectorize(assume_safety)")
#else
#define QOV_INDEPENDENT_FRAMES _Pragma("GCC ivdep")
#endif

namespace qov::QOV_VARIANT {

namespace {

#if defined(__FMA__) || defined(__aarch64__)
inline float fusedMultiplyAdd(float x, float y, float z) {
    return __builtin_fmaf(x, y, z);
}
#else
// Without the instruction: the product is exact in double; the sum is rounded to odd, so that the
// rounding to float that follows is the only one that counts (Boldo and Melquiond).
inline float fusedMultiplyAdd(float x, float y, float z) {
    const double product = static_cast<double>(x) * static_cast<double>(y);
    const double addend = static_cast<double>(z);
    const double sum = product + addend;
    const double productPart = sum - addend;
    const double error = (product - productPart) + (addend - (sum - productPart));
    const auto bits = __builtin_bit_cast(long long, sum);
    // An even sum that is not exact moves to its odd neighbour on the error's side; in bits that is
    // away from zero where the two have one sign. A NaN compares as no error. All of it without a
    // branch, so that the loops around it stay vectors.
    const long long above = error > 0 ? 1 : 0, below = error < 0 ? 1 : 0;
    const long long away = sum > 0 ? above - below : below - above;
    const long long step = away & ((bits & 1) - 1);
    return static_cast<float>(__builtin_bit_cast(double, bits + step));
}
#endif

struct Arithmetic {
    static float fusedMultiplyAdd(float x, float y, float z) {
        return QOV_VARIANT::fusedMultiplyAdd(x, y, z);
    }
};
using Formulas = StageFormulas<Arithmetic>;

inline float flipped(float value, std::uint32_t sign) {
    return __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, value) ^ sign);
}

void scale(const float* in, float* out, std::int32_t count, float gain) {
    QOV_INDEPENDENT_FRAMES
    for (std::int32_t i = 0; i < count; ++i) out[i] = in[i] * gain;
}

void delay(const float* in, float* out, float* line, std::int32_t count, float gain) {
    if (gain == 1.0f) {
        QOV_INDEPENDENT_FRAMES
        for (std::int32_t i = 0; i < count; ++i) {
            const float late = line[i];
            line[i] = in[i];
            out[i] = late;
        }
        return;
    }
    QOV_INDEPENDENT_FRAMES
    for (std::int32_t i = 0; i < count; ++i) {
        const float late = line[i];
        line[i] = in[i] * gain;
        out[i] = late;
    }
}

template <int index>
void shape(const Shape& shape, const float* left, const float* right, float* outLeft,
           float* outRight, float* ringLeft, float* ringRight, std::int32_t count) {
    constexpr ShapeStages stages = ShapeStages::at(index);
    static_assert(stages.index() == index);
    const auto [leftSign, rightSign, recover, width, pan] = shape;
    QOV_INDEPENDENT_FRAMES
    for (std::int32_t i = 0; i < count; ++i) {
        float l = flipped(left[i], leftSign);
        float r = flipped(right[i], rightSign);
        if constexpr (stages.recover) Formulas::recover(l, r, recover);
        if constexpr (stages.width == ShapeStages::above) Formulas::widen(l, r, width);
        if constexpr (stages.width == ShapeStages::below) Formulas::narrow(l, r, width);
        if constexpr (stages.pan == ShapeStages::above) Formulas::panRight(l, r, pan);
        if constexpr (stages.pan == ShapeStages::below) Formulas::panLeft(l, r, pan);
        if constexpr (stages.mono) Formulas::toMono(l, r);
        const float lateLeft = ringLeft[i], lateRight = ringRight[i];
        ringLeft[i] = l;
        ringRight[i] = r;
        outLeft[i] = lateLeft;
        outRight[i] = lateRight;
    }
}

template <int... index>
constexpr ChainLoops allLoops(std::integer_sequence<int, index...>) {
    return {scale, delay, {shape<index>...}};
}

}  // namespace

extern const ChainLoops loops;
constexpr ChainLoops loops = allLoops(std::make_integer_sequence<int, ShapeStages::count>());

}  // namespace qov::QOV_VARIANT
