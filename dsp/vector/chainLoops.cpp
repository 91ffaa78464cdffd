// The hot loops of the chain, compiled once for each form of the processor: QOV_VARIANT names the
// namespace. Nothing here may call an inline function of the standard library: the linker keeps one
// copy of such a function, and it could be one that this processor cannot run.

#include <utility>

#if defined(__FMA__)
#include <immintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

#include "dsp/ChainLoops.h"
#include "dsp/stageFormulas.h"

#ifdef __clang__
#define QOV_ONE_BY_ONE _Pragma("clang loop vectorize(disable) unroll(disable)")
#else
#define QOV_ONE_BY_ONE _Pragma("GCC unroll 1")
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

// Frames: as many as this form computes at once.
#if defined(__AVX512F__)
#define QOV_VECTORS
using Frames = __m512;

inline Frames fusedMultiplyAdd(Frames x, float y, Frames z) {
    return _mm512_fmadd_ps(x, _mm512_set1_ps(y), z);
}
#elif defined(__FMA__)
#define QOV_VECTORS
using Frames = __m256;

inline Frames fusedMultiplyAdd(Frames x, float y, Frames z) {
    return _mm256_fmadd_ps(x, _mm256_set1_ps(y), z);
}
#elif defined(__aarch64__)
#define QOV_VECTORS
using Frames = float32x4_t;

inline Frames fusedMultiplyAdd(Frames x, float y, Frames z) {
    return vfmaq_n_f32(z, x, y);
}
#elif defined(__SSE2__)
#define QOV_VECTORS
using Frames = __m128;

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

// A sum rounded to double rounds to the right float unless it lies midway between
// two floats. Only such a sum, or one near the subnormal floats, whose spacing differs, is rounded
// to odd.
inline Frames fusedMultiplyAdd(Frames x, float y, Frames z) {
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
    const __m128i isNormal = _mm_cmpgt_epi32(magnitude, _mm_set1_epi32(0x00800000));
    if (_mm_movemask_epi8(_mm_andnot_si128(isMiddle, isNormal)) == 0xFFFF) return result;
    return narrowed(sumRoundedToOdd(lowProduct, lowAddend),
                    sumRoundedToOdd(highProduct, highAddend));
}
#endif

struct Arithmetic {
    template <class Number>
    static Number fusedMultiplyAdd(Number x, float y, Number z) {
        return QOV_VARIANT::fusedMultiplyAdd(x, y, z);
    }
};
using Formulas = StageFormulas<Arithmetic>;

template <class Number>
inline Number numberAt(const float* frames) {
    Number number;
    __builtin_memcpy(&number, frames, sizeof number);
    return number;
}

template <class Number>
inline void put(float* frames, Number number) {
    __builtin_memcpy(frames, &number, sizeof number);
}

// A pass over a block: step.template read<Number>(i) computes the frames from i on, step.write(i,
// result) stores them. Memory of one index may be shared, that of different indices not.
template <class Step>
inline void pass(std::int32_t count, const Step& step) {
    std::int32_t i = 0;
#ifdef QOV_VECTORS
    constexpr std::int32_t lanes = sizeof(Frames) / sizeof(float);
    if (count >= lanes) {
        for (; i <= count - 2 * lanes; i += lanes) step.write(i, step.template read<Frames>(i));
        // What is left fills one vector, or two that overlap: both are computed before one is
        // stored.
        const std::int32_t last = count - lanes;
        const auto one = step.template read<Frames>(i);
        if (last > i) {
            const auto other = step.template read<Frames>(last);
            step.write(last, other);
        }
        step.write(i, one);
        return;
    }
#endif
    QOV_ONE_BY_ONE
    for (; i < count; ++i) step.write(i, step.template read<float>(i));
}

struct ScaleStep {
    const float* in;
    float* out;
    float gain;

    template <class Number>
    Number read(std::int32_t i) const {
        return numberAt<Number>(in + i) * gain;
    }
    template <class Number>
    void write(std::int32_t i, Number scaled) const {
        put(out + i, scaled);
    }
};

void scale(const float* in, float* out, std::int32_t count, float gain) {
    pass(count, ScaleStep{in, out, gain});
}

template <bool isScaled>
struct DelayStep {
    const float* in;
    float *out, *line;
    float gain;

    template <class Number>
    struct Result {
        Number early, late;
    };
    template <class Number>
    Result<Number> read(std::int32_t i) const {
        const auto early = numberAt<Number>(in + i);
        if constexpr (isScaled) return {early * gain, numberAt<Number>(line + i)};
        return {early, numberAt<Number>(line + i)};
    }
    template <class Number>
    void write(std::int32_t i, const Result<Number>& result) const {
        put(line + i, result.early);
        put(out + i, result.late);
    }
};

void delay(const float* in, float* out, float* line, std::int32_t count, float gain) {
    if (gain == 1.0f)
        pass(count, DelayStep<false>{in, out, line, gain});
    else
        pass(count, DelayStep<true>{in, out, line, gain});
}

template <int index, class Number>
[[gnu::always_inline]] inline void shapeFrames(const Shape& shape, Number& l, Number& r) {
    constexpr ShapeStages stages = ShapeStages::at(index);
    static_assert(stages.index() == index);
    l = l * shape.left;
    r = r * shape.right;
    if constexpr (stages.recover) Formulas::recover(l, r, shape.recover);
    if constexpr (stages.width == ShapeStages::above) Formulas::widen(l, r, shape.width);
    if constexpr (stages.width == ShapeStages::below) Formulas::narrow(l, r, shape.width);
    if constexpr (stages.pan == ShapeStages::above) Formulas::panRight(l, r, shape.pan);
    if constexpr (stages.pan == ShapeStages::below) Formulas::panLeft(l, r, shape.pan);
    if constexpr (stages.mono) Formulas::toMono(l, r);
}

template <int index>
struct ShapeStep {
    const Shape shape;  // a copy: apart from the blocks, as far as the compiler is concerned
    const float *left, *right;
    float *outLeft, *outRight, *ringLeft, *ringRight;

    template <class Number>
    struct Result {
        Number left, right, lateLeft, lateRight;
    };
    template <class Number>
    [[gnu::always_inline]] Result<Number> read(std::int32_t i) const {
        auto l = numberAt<Number>(left + i), r = numberAt<Number>(right + i);
        shapeFrames<index>(shape, l, r);
        return {l, r, numberAt<Number>(ringLeft + i), numberAt<Number>(ringRight + i)};
    }
    template <class Number>
    void write(std::int32_t i, const Result<Number>& result) const {
        put(ringLeft + i, result.left);
        put(ringRight + i, result.right);
        put(outLeft + i, result.lateLeft);
        put(outRight + i, result.lateRight);
    }
};

template <int index>
void shape(const Shape& shape, const float* left, const float* right, float* outLeft,
           float* outRight, float* ringLeft, float* ringRight, std::int32_t count) {
    pass(count, ShapeStep<index>{shape, left, right, outLeft, outRight, ringLeft, ringRight});
}

template <int... index>
constexpr ChainLoops allLoops(std::integer_sequence<int, index...>) {
    return {scale, delay, {shape<index>...}};
}

}  // namespace

extern const ChainLoops loops;
constexpr ChainLoops loops = allLoops(std::make_integer_sequence<int, ShapeStages::count>());

}  // namespace qov::QOV_VARIANT
