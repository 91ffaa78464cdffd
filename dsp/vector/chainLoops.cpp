// The hot loops of the chain, compiled once for each form of the processor: QOV_VARIANT names the
// namespace. Nothing here may call an inline function of the standard library: the linker keeps one
// copy of such a function, and it could be one that this processor cannot run.

#include <utility>

#if defined(__SSE2__) && !defined(__FMA__)
#define QOV_FOUR_FRAMES
#include <emmintrin.h>
#endif

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
    // away from zero where sum and error have the same sign. A NaN compares as no error.
    const long long above = error > 0 ? 1 : 0, below = error < 0 ? 1 : 0;
    const long long away = sum > 0 ? above - below : below - above;
    const long long step = away & ((bits & 1) - 1);
    return static_cast<float>(__builtin_bit_cast(double, bits + step));
}
#endif

inline float flipped(float value, std::uint32_t sign) {
    return __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, value) ^ sign);
}

#ifdef QOV_FOUR_FRAMES
// The same rounding to odd, of two sums.
inline __m128d sumRoundedToOdd(__m128d product, __m128d addend) {
    const __m128d sum = _mm_add_pd(product, addend);
    const __m128d productPart = _mm_sub_pd(sum, addend);
    const __m128d error = _mm_add_pd(_mm_sub_pd(product, productPart),
                                     _mm_sub_pd(addend, _mm_sub_pd(sum, productPart)));
    const __m128i bits = _mm_castpd_si128(sum), one = _mm_set1_epi64x(1);
    const __m128d magnitude = _mm_andnot_pd(_mm_set1_pd(-0.0), error);
    const __m128i isInexact = _mm_castpd_si128(_mm_cmplt_pd(_mm_setzero_pd(), magnitude));
    const __m128i isEven = _mm_sub_epi64(_mm_and_si128(bits, one), one);
    const __m128i opposite = _mm_srli_epi64(_mm_xor_si128(bits, _mm_castpd_si128(error)), 63);
    const __m128i away = _mm_sub_epi64(one, _mm_add_epi64(opposite, opposite));
    const __m128i step = _mm_and_si128(away, _mm_and_si128(isEven, isInexact));
    return _mm_castsi128_pd(_mm_add_epi64(bits, step));
}

inline __m128 narrowed(__m128d low, __m128d high) {
    return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
}

// Four at a time. A sum rounded to double rounds to the right float unless it lies midway between
// two floats. Only such a sum, or one near the subnormal floats, whose spacing differs, is rounded
// to odd.
inline __m128 fusedMultiplyAdd(__m128 x, float y, __m128 z) {
    const __m128d factor = _mm_set1_pd(static_cast<double>(y));
    const __m128d lowProduct = _mm_mul_pd(_mm_cvtps_pd(x), factor);
    const __m128d highProduct = _mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(x, x)), factor);
    const __m128d lowAddend = _mm_cvtps_pd(z), highAddend = _mm_cvtps_pd(_mm_movehl_ps(z, z));
    const __m128d low = _mm_add_pd(lowProduct, lowAddend);
    const __m128d high = _mm_add_pd(highProduct, highAddend);
    const __m128 result = narrowed(low, high);
    const __m128i lowWords = _mm_castps_si128(
        _mm_shuffle_ps(_mm_castpd_ps(low), _mm_castpd_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i isMiddle = _mm_cmpeq_epi32(_mm_and_si128(lowWords, _mm_set1_epi32(0x1FFFFFFF)),
                                             _mm_set1_epi32(0x10000000));
    const __m128i magnitude = _mm_and_si128(_mm_castps_si128(result), _mm_set1_epi32(0x7FFFFFFF));
    const __m128i isTiny = _mm_cmplt_epi32(magnitude, _mm_set1_epi32(0x00800001));
    if (_mm_movemask_epi8(_mm_or_si128(isMiddle, isTiny)) == 0) return result;
    return narrowed(sumRoundedToOdd(lowProduct, lowAddend),
                    sumRoundedToOdd(highProduct, highAddend));
}

inline __m128 flipped(__m128 value, std::uint32_t sign) {
    return _mm_xor_ps(value, _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(sign))));
}
#endif

struct Arithmetic {
    template <class Number>
    static Number fusedMultiplyAdd(Number x, float y, Number z) {
        return QOV_VARIANT::fusedMultiplyAdd(x, y, z);
    }
};
using Formulas = StageFormulas<Arithmetic>;

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

template <int index, class Number>
inline void shapeFrames(const Shape& shape, Number& l, Number& r) {
    constexpr ShapeStages stages = ShapeStages::at(index);
    static_assert(stages.index() == index);
    l = flipped(l, shape.leftSign);
    r = flipped(r, shape.rightSign);
    if constexpr (stages.recover) Formulas::recover(l, r, shape.recover);
    if constexpr (stages.width == ShapeStages::above) Formulas::widen(l, r, shape.width);
    if constexpr (stages.width == ShapeStages::below) Formulas::narrow(l, r, shape.width);
    if constexpr (stages.pan == ShapeStages::above) Formulas::panRight(l, r, shape.pan);
    if constexpr (stages.pan == ShapeStages::below) Formulas::panLeft(l, r, shape.pan);
    if constexpr (stages.mono) Formulas::toMono(l, r);
}

template <int index>
void shape(const Shape& given, const float* left, const float* right, float* outLeft,
           float* outRight, float* ringLeft, float* ringRight, std::int32_t count) {
    const Shape shape = given;  // apart from the blocks, as far as the compiler is concerned
    std::int32_t i = 0;
#ifdef QOV_FOUR_FRAMES
    for (; count - i >= 4; i += 4) {
        __m128 l = _mm_loadu_ps(left + i), r = _mm_loadu_ps(right + i);
        shapeFrames<index>(shape, l, r);
        const __m128 lateLeft = _mm_loadu_ps(ringLeft + i), lateRight = _mm_loadu_ps(ringRight + i);
        _mm_storeu_ps(ringLeft + i, l);
        _mm_storeu_ps(ringRight + i, r);
        _mm_storeu_ps(outLeft + i, lateLeft);
        _mm_storeu_ps(outRight + i, lateRight);
    }
#endif
    QOV_INDEPENDENT_FRAMES
    for (; i < count; ++i) {
        float l = left[i], r = right[i];
        shapeFrames<index>(shape, l, r);
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
