#include "hosts/measure/FourierTransform.h"

#include <cmath>
#include <numbers>

namespace qov::measure {

FourierTransform::FourierTransform(std::size_t length)
    : real(length), imaginary(length), nextReal_(length), nextImaginary_(length) {
    for (std::size_t k = 0; k < length / 2; ++k) {
        const double angle =
            -2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(length);
        cosines_.push_back(static_cast<float>(std::cos(angle)));
        sines_.push_back(static_cast<float>(std::sin(angle)));
    }
}

void FourierTransform::run() {
    for (std::size_t half = real.size() / 2, stride = 1; half > 0; half /= 2, stride *= 2) {
        pass(half, stride);
        real.swap(nextReal_);
        imaginary.swap(nextImaginary_);
    }
}

void FourierTransform::pass(std::size_t half, std::size_t stride) {
    for (std::size_t p = 0; p < half; ++p) {
        const float cosine = cosines_[p * stride];
        const float sine = sines_[p * stride];
        const float* const x1 = &real[stride * p];
        const float* const y1 = &imaginary[stride * p];
        const float* const x2 = x1 + stride * half;
        const float* const y2 = y1 + stride * half;
        float* __restrict const u = &nextReal_[2 * stride * p];
        float* __restrict const v = &nextImaginary_[2 * stride * p];
        for (std::size_t q = 0; q < stride; ++q) {
            const float x = x1[q] - x2[q];
            const float y = y1[q] - y2[q];
            u[q] = x1[q] + x2[q];
            v[q] = y1[q] + y2[q];
            u[stride + q] = x * cosine - y * sine;
            v[stride + q] = x * sine + y * cosine;
        }
    }
}

}  // namespace qov::measure
