#include "dsp/fft.h"

#include <array>
#include <cassert>
#include <cmath>
#include <mutex>
#include <numbers>
#include <utility>

namespace dsp::fft {
namespace {

using std::size_t;
constexpr size_t kLargest = kMaxSize;

/// The n-th roots of unity e^(−2πi·k/n) at index n + k, for every power of two n up to the
/// largest size.
/// A table of its own for each n keeps neighbouring k together in memory.
struct Roots {
    std::array<float, 2 * kLargest> re;
    std::array<float, 2 * kLargest> im;
};

Roots sRoots;
constexpr auto kIdentity = [] {
    std::array<std::int32_t, kLargest / 2> order{};
    for (size_t bin = 0; bin < order.size(); ++bin)
        order[bin] = static_cast<std::int32_t>(bin);
    return order;
}();
std::once_flag sTablesOnce;

void fillTables() {
    for (size_t n = 1; n <= kLargest; n *= 2) {
        for (size_t k = 0; k < n; ++k) {
            const double turns = static_cast<double>(k) / static_cast<double>(n);
            const double angle = -2.0 * std::numbers::pi * turns;
            sRoots.re[n + k] = static_cast<float>(std::cos(angle));
            sRoots.im[n + k] = static_cast<float>(std::sin(angle));
        }
    }
}

struct Complex {
    float re;
    float im;
};

Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }
Complex operator*(Complex a, Complex b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
Complex conj(Complex a) { return {a.re, -a.im}; }
Complex timesI(Complex a) { return {-a.im, a.re}; }

/// e^(−2πi·k/n), 0 ≤ k < n.
Complex root(size_t n, size_t k) { return {sRoots.re[n + k], sRoots.im[n + k]}; }

/// Complex points with real and imaginary parts apart, so that the passes need no shuffles.
struct Points {
    float* re;
    float* im;
};

/// Radix-4 pass of a self-sorting (Stockham) transform: `stride` interleaved transforms of `length`
/// points each are split into four times as many of a quarter of the length.
void radix4Pass(Points from, Points to, size_t length, size_t stride) {
    const size_t quarter = length / 4 * stride; // distance of a butterfly's inputs
    for (size_t p = 0; p < length / 4; ++p) {
        const Complex w1 = root(length, p);
        const Complex w2 = root(length, 2 * p);
        const Complex w3 = root(length, 3 * p);
        const float* __restrict const inRe = from.re + stride * p;
        const float* __restrict const inIm = from.im + stride * p;
        float* __restrict const outRe = to.re + 4 * stride * p;
        float* __restrict const outIm = to.im + 4 * stride * p;
        for (size_t q = 0; q < stride; ++q) {
            const Complex a{inRe[q], inIm[q]};
            const Complex b{inRe[q + quarter], inIm[q + quarter]};
            const Complex c{inRe[q + 2 * quarter], inIm[q + 2 * quarter]};
            const Complex d{inRe[q + 3 * quarter], inIm[q + 3 * quarter]};
            const Complex sumAc = a + c;
            const Complex sumBd = b + d;
            const Complex differenceAc = a - c;
            const Complex turnedBd = timesI(b - d);
            const std::array<Complex, 4> out{sumAc + sumBd, w1 * (differenceAc - turnedBd),
                                             w2 * (sumAc - sumBd), w3 * (differenceAc + turnedBd)};
            for (size_t j = 0; j < 4; ++j) {
                outRe[q + j * stride] = out[j].re;
                outIm[q + j * stride] = out[j].im;
            }
        }
    }
}

/// The pass that is left when the size is an odd power of two; all its twiddles are 1.
void lastRadix2Pass(Points from, Points to, size_t stride) {
    for (size_t q = 0; q < stride; ++q) {
        const Complex a{from.re[q], from.im[q]};
        const Complex b{from.re[q + stride], from.im[q + stride]};
        const Complex sum = a + b;
        const Complex difference = a - b;
        to.re[q] = sum.re;
        to.im[q] = sum.im;
        to.re[q + stride] = difference.re;
        to.im[q + stride] = difference.im;
    }
}

/// Plain forward transform of n points. The result stands in the returned one of the two; the other
/// holds rubbish. The inverse (unnormalised) is the same with re and im swapped in both.
Points transform(Points points, Points scratch, size_t n) {
    size_t length = n;
    size_t stride = 1;
    for (; length >= 4; length /= 4, stride *= 4) {
        radix4Pass(points, scratch, length, stride);
        std::swap(points, scratch);
    }
    if (length == 2) {
        lastRadix2Pass(points, scratch, stride);
        std::swap(points, scratch);
    }
    return points;
}

/// Room for the n/2 complex points of a real transform and their scratch.
class Workspace {
public:
    Points points() { return {memory[0].data(), memory[1].data()}; }
    Points scratch() { return {memory[2].data(), memory[3].data()}; }

private:
    alignas(64) std::array<std::array<float, kLargest / 2>, 4> memory; // deliberately not cleared
};

Complex get(Points points, size_t index) { return {points.re[index], points.im[index]}; }
Complex get(const float* pairs, size_t index) { return {pairs[2 * index], pairs[2 * index + 1]}; }
void set(Points points, size_t index, Complex value) {
    points.re[index] = value.re;
    points.im[index] = value.im;
}
void set(float* pairs, size_t index, Complex value) {
    pairs[2 * index] = value.re;
    pairs[2 * index + 1] = value.im;
}

[[maybe_unused]] bool isSupported(int n) {
    return n >= 2 && n <= kMaxSize && (n & (n - 1)) == 0 && sRoots.re[1] == 1.0F;
}

} // namespace

void initTables() { std::call_once(sTablesOnce, fillTables); }

const std::int32_t* binOrder(int) { return kIdentity.data(); }

// A real signal x of n samples is transformed as z[i] = x[2i] + i·x[2i+1] of half the length. With
// W = e^(−2πi/n) and k' = n/2 − k, twice the plain DFT of x is
//     X[k] = (Z[k] + conj Z[k']) − i·W^k·(Z[k] − conj Z[k']),
// and the same with the conjugate of −i·W^k turns X into 4·Z.

void forwardReal(float* data, int n) {
    assert(isSupported(n));
    const auto size = static_cast<size_t>(n);
    const size_t half = size / 2;
    Workspace workspace;
    Points z = workspace.points();
    for (size_t i = 0; i < half; ++i)
        set(z, i, get(data, i));
    z = transform(z, workspace.scratch(), half);

    data[0] = 2.0F * (z.re[0] + z.im[0]);
    data[1] = 2.0F * (z.re[0] - z.im[0]);
    for (size_t k = 1; k < half; ++k) {
        const Complex mirrored = conj(get(z, half - k));
        const Complex even = get(z, k) + mirrored;
        const Complex odd = root(size, k) * (get(z, k) - mirrored);
        set(data, k, even - timesI(odd));
    }
}

void inverseReal(float* data, int n) {
    assert(isSupported(n));
    const auto size = static_cast<size_t>(n);
    const size_t half = size / 2;
    Workspace workspace;
    const Points z = workspace.points();
    set(z, 0, {data[0] + data[1], data[0] - data[1]});
    for (size_t k = 1; k < half; ++k) {
        const Complex mirrored = conj(get(data, half - k));
        const Complex even = get(data, k) + mirrored;
        const Complex odd = conj(root(size, k)) * (get(data, k) - mirrored);
        set(z, k, even + timesI(odd));
    }

    const auto swapped = [](Points points) { return Points{points.im, points.re}; };
    const Points x = swapped(transform(swapped(z), swapped(workspace.scratch()), half));
    for (size_t i = 0; i < half; ++i)
        set(data, i, get(x, i));
}

} // namespace dsp::fft
