/// Complex arithmetic and the small Fourier transforms that larger ones are made of. T is a vector
/// (as many transforms side by side as it has lanes) or a single float.
#pragma once

#include "dsp/kernels/Vector.h"

namespace dsp::TD_KERNEL_SET {
namespace {

template <class T>
struct Complex {
    Complex() = default;
    Complex(T real, T imaginary) : re(real), im(imaginary) {}
    // Part by part: left to itself, GCC copies the pair in pieces of 16 bytes, whatever the
    // vectors' width.
    Complex(const Complex& other) : re(other.re), im(other.im) {}
    Complex& operator=(const Complex& other) {
        re = other.re;
        im = other.im;
        return *this;
    }

    T re, im;
};

template <class T>
inline Complex<T> operator+(Complex<T> a, Complex<T> b) {
    return {a.re + b.re, a.im + b.im};
}
template <class T>
inline Complex<T> operator-(Complex<T> a, Complex<T> b) {
    return {a.re - b.re, a.im - b.im};
}
template <class T>
inline Complex<T> operator*(Complex<T> a, Complex<T> b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class T>
inline Complex<T> conj(Complex<T> a) {
    return {a.re, -a.im};
}
/// a · conj b, without the negation that conj(b) would cost.
template <class T>
inline Complex<T> timesConj(Complex<T> a, Complex<T> b) {
    return {a.re * b.re + a.im * b.im, a.im * b.re - a.re * b.im};
}
template <class T>
inline Complex<T> timesMinusI(Complex<T> a) {
    return {a.im, -a.re};
}
template <class T>
inline Complex<T> swapped(Complex<T> a) {
    return {a.im, a.re};
}

enum class Direction { Forward, Inverse };

/// Plain Fourier transform of four points.
template <class T>
[[gnu::always_inline]] inline void dftOfFour(Complex<T> (&x)[4]) {
    const Complex<T> sum02 = x[0] + x[2], difference02 = x[0] - x[2];
    const Complex<T> sum13 = x[1] + x[3], turned13 = timesMinusI(x[1] - x[3]);
    x[0] = sum02 + sum13;
    x[1] = difference02 + turned13;
    x[2] = sum02 - sum13;
    x[3] = difference02 - turned13;
}

/// x[i][k] times e^(−2πi·ik/16): between the two steps of a transform of 16 points.
template <class T>
[[gnu::always_inline]] inline void turnBySixteenths(Complex<T> (&x)[4][4]) {
    constexpr float kCosine[10] = {1.0F, 0.92387953F,  0.70710678F, 0.38268343F, 0.0F,
                                   0.0F, -0.70710678F, 0.0F,        0.0F,        -0.92387953F};
    constexpr float kSine[10] = {0.0F, 0.38268343F, 0.70710678F, 0.92387953F, 1.0F,
                                 0.0F, 0.70710678F, 0.0F,        0.0F,        -0.38268343F};
    for (int i = 1; i < 4; ++i)
        for (int k = 1; k < 4; ++k) {
            Complex<T>& point = x[i][k];
            point = point * Complex<T>(broadcastLike(point.re, kCosine[i * k]),
                                       broadcastLike(point.re, -kSine[i * k]));
        }
}

/// Plain Fourier transform of R = 4, 8 or 16 points, unnormalised in both directions: from in(i) to
/// out(k, point). Asks for each point as late as it can: eight at once do not fit the registers.
/// The inverse is the forward transform of the points with re and im swapped, swapped back: names,
/// no work.
template <Direction kDirection, int R, class In, class Out>
[[gnu::always_inline]] inline void dft(const In& in, const Out& out) {
    constexpr bool kForward = kDirection == Direction::Forward;
    const auto get = [&](int i) { return kForward ? in(i) : swapped(in(i)); };
    const auto put = [&](int k, auto point) { out(k, kForward ? point : swapped(point)); };
    using Point = decltype(in(0));
    if constexpr (R == 4) {
        Point x[4] = {get(0), get(1), get(2), get(3)};
        dftOfFour(x);
        for (int k = 0; k < 4; ++k)
            put(k, x[k]);
    } else if constexpr (R == 16) {
        Point x[4][4];
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j)
                x[i][j] = get(i + 4 * j);
            dftOfFour(x[i]);
        }
        turnBySixteenths(x);
        for (int k = 0; k < 4; ++k) {
            Point across[4] = {x[0][k], x[1][k], x[2][k], x[3][k]};
            dftOfFour(across);
            for (int l = 0; l < 4; ++l)
                put(k + 4 * l, across[l]);
        }
    } else {
        Point even[4] = {get(0), get(2), get(4), get(6)};
        dftOfFour(even);
        Point odd[4] = {get(1), get(3), get(5), get(7)};
        dftOfFour(odd);
        // Times e^(−2πi·k/8); the eighths of a turn are a sum and a difference, times √½.
        const auto half = broadcastLike(odd[0].re, 0.70710678F);
        odd[1] = {(odd[1].re + odd[1].im) * half, (odd[1].im - odd[1].re) * half};
        odd[2] = timesMinusI(odd[2]);
        odd[3] = {(odd[3].im - odd[3].re) * half, (odd[3].re + odd[3].im) * -half};
        for (int k = 0; k < 4; ++k) {
            put(k, even[k] + odd[k]);
            put(k + 4, even[k] - odd[k]);
        }
    }
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
