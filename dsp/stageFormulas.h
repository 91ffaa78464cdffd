#pragma once

namespace qov {

/// What each stage of the chain does to a frame: the lines that the stages' own loops and all forms
/// of the vector loops are compiled from. Results are to the bit those of the order written here.
///
/// Arithmetic has fusedMultiplyAdd(x, y, z) = x y + z, rounded once; each source brings its own in
/// an anonymous namespace, so that no two forms share an instantiation. A Number is a float, or a
/// vector with a float's operators.
template <class Arithmetic>
struct StageFormulas {
    /// Recover mono. `part` is half of the amount, exactly; a double holds it for every amount.
    template <class Number, class Part>
    static void recover(Number& left, Number& right, Part part) {
        const auto shift = static_cast<Number>((left - right) * part);
        left += shift;
        right += shift;
    }

    /// Width for an adjustment a > 0.
    template <class Number>
    static void widen(Number& left, Number& right, float a) {
        const Number side = (left - right) * 0.5f;
        left = Arithmetic::fusedMultiplyAdd(side, a, left);
        right = Arithmetic::fusedMultiplyAdd(side, -a, right);
    }

    /// Width for an adjustment a < 0. Only the left channel moves: fromRight is -a right, up to
    /// rounding.
    template <class Number>
    static void narrow(Number& left, Number& right, float a) {
        const Number fromRight = ((left + right) - (left - right)) * 0.5f * -a;
        left = Arithmetic::fusedMultiplyAdd(left, a + 1.0f, fromRight);
        right = Arithmetic::fusedMultiplyAdd(right, a + 1.0f, fromRight);
    }

    /// Panorama for a position p < 0.
    template <class Number>
    static void panLeft(Number& left, Number& right, float p) {
        left = (p * fallOfNearChannel + 1.0f) * (right * -p + left);
        right = (p + 1.0f) * right;
    }

    /// Panorama for a position p >= 0.
    template <class Number>
    static void panRight(Number& left, Number& right, float p) {
        right = (p * -fallOfNearChannel + 1.0f) * (left * p + right);
        left = (1.0f - p) * left;
    }

    template <class Number>
    static void toMono(Number& left, Number& right) {
        left = right = (left + right) * 0.5f;
    }

 private:
    static constexpr float fallOfNearChannel = 0.4f;
};

}  // namespace qov
