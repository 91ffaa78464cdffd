#pragma once

namespace qov::measure {

/// Sums over the frames of a stereo signal and the figures that follow from them. Nothing here
/// allocates. Undefined figures are NaN.
struct StereoSums {
    double ll = 0, rr = 0, lr = 0;  ///< sums of L*L, R*R, L*R

    /// One more frame.
    void add(double left, double right) {
        ll += left * left;
        rr += right * right;
        lr += left * right;
    }

    /// lr / sqrt(ll rr), the correlation coefficient about zero that phase meters show: -1..1; 0
    /// where one channel is silent, NaN where both are.
    double correlation() const;
    /// Power of (L - R) / 2 over that of (L + R) / 2 in dB; -infinity for mono, infinity for
    /// opposite channels, NaN for silence.
    double sideToMid() const;
    /// Power of R over that of L in dB; infinite where one channel is silent, NaN where both are.
    double rightToLeft() const;
    /// Side against mid and side, in RMS: 0 mono, 0.5 unrelated channels, 1 nothing but side.
    double width() const;
    /// -1 all left .. 1 all right, in RMS; 0 for silence.
    double balance() const;
    /// Below a sum of 1e-12.
    bool isSilent() const;
};

/// 10 log10 of a ratio of powers: dB.
double decibels(double powerRatio);

}  // namespace qov::measure
