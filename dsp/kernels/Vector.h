/// Vectors of floats: the compiler's own vector types, and the few operations they lack.
///
/// All headers of this folder are compiled once per kernel set, for that set's processors, into
/// its namespace TD_KERNEL_SET and for vectors of TD_KERNEL_WIDTH floats. They keep away from
/// inline functions of the standard library: of those the linker keeps a single copy, which could
/// be the one made for a processor that this machine does not have.
#pragma once

#include <cstdint>

#if defined(TD_KERNEL_INTRINSICS)
#include <immintrin.h>
#endif

namespace dsp::TD_KERNEL_SET {
namespace {

/// Lanes of a vector: 4, 8 or 16.
constexpr int kWidth = TD_KERNEL_WIDTH;

using Vec [[gnu::vector_size(4 * kWidth)]] = float;
using IntVec [[gnu::vector_size(4 * kWidth)]] = std::int32_t;
using BitVec [[gnu::vector_size(4 * kWidth)]] = std::uint32_t;
using HalfVec [[gnu::vector_size(2 * kWidth)]] = float;
using UnalignedVec [[gnu::vector_size(4 * kWidth), gnu::aligned(4)]] = float;

inline Vec load(const float* aligned) { return *reinterpret_cast<const Vec*>(aligned); }
inline Vec loadAnywhere(const float* from) { return *reinterpret_cast<const UnalignedVec*>(from); }
inline void store(float* aligned, Vec value) { *reinterpret_cast<Vec*>(aligned) = value; }
inline void storeAnywhere(float* to, Vec value) { *reinterpret_cast<UnalignedVec*>(to) = value; }

inline Vec broadcast(float value) { return value - Vec{}; }
inline float broadcastLike(float, float value) { return value; }
inline Vec broadcastLike(Vec, float value) { return broadcast(value); }

// b if one of them is no number.
#if defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 16
inline Vec smaller(Vec a, Vec b) { return _mm512_min_ps(a, b); }
inline Vec larger(Vec a, Vec b) { return _mm512_max_ps(a, b); }
#elif defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 8
inline Vec smaller(Vec a, Vec b) { return _mm256_min_ps(a, b); }
inline Vec larger(Vec a, Vec b) { return _mm256_max_ps(a, b); }
#else
inline Vec smaller(Vec a, Vec b) { return a < b ? a : b; }
inline Vec larger(Vec a, Vec b) { return a > b ? a : b; }
#endif

/// The bits of the floats as integers, and back. Without sign, so that arithmetic on the bits of
/// any number, NaN too, only wraps around.
inline BitVec bitsOf(Vec value) { return reinterpret_cast<BitVec>(value); }
inline Vec fromBits(BitVec bits) { return reinterpret_cast<Vec>(bits); }
inline Vec fromBits(IntVec bits) { return reinterpret_cast<Vec>(bits); }

inline Vec absolute(Vec value) { return fromBits(bitsOf(value) & 0x7FFFFFFFU); }

inline float squareRoot(float value) { return __builtin_sqrtf(value); }

#if defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 16
inline Vec squareRoot(Vec value) { return _mm512_sqrt_ps(value); }
inline bool anyOf(IntVec mask) {
    return _mm512_movepi32_mask(reinterpret_cast<__m512i>(mask)) != 0;
}
#elif defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 8
inline Vec squareRoot(Vec value) { return _mm256_sqrt_ps(value); }
inline bool anyOf(IntVec mask) { return _mm256_movemask_ps(fromBits(mask)) != 0; }
#elif defined(TD_KERNEL_INTRINSICS)
inline Vec squareRoot(Vec value) { return _mm_sqrt_ps(value); }
inline bool anyOf(IntVec mask) { return _mm_movemask_ps(fromBits(mask)) != 0; }
#else
inline Vec squareRoot(Vec value) {
    for (int lane = 0; lane < kWidth; ++lane)
        value[lane] = __builtin_sqrtf(value[lane]);
    return value;
}
inline bool anyOf(IntVec mask) {
    std::int32_t any = 0;
    for (int lane = 0; lane < kWidth; ++lane)
        any |= mask[lane];
    return any != 0;
}
#endif

/// The same for values of at least 0, elsewhere in the processor where that is possible: roots by
/// turns here and there take less time than all in one place.
#if defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 16
inline Vec otherSquareRoot(Vec value) {
    const Vec inverse = _mm512_rsqrt14_ps(larger(value, broadcast(1.2e-38F))); // no infinity for 0
    const Vec root = value * inverse;
    return root + (inverse * 0.5F) * (value - root * root); // a step of Newton's
}
#else
inline Vec otherSquareRoot(Vec value) { return squareRoot(value); }
#endif

#if defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 16
inline float sumOfLanes(Vec value) { return _mm512_reduce_add_ps(value); }
/// The first n values, as many as there are lanes at most; the other lanes are 0.
inline Vec loadFirst(const float* from, int n) {
    return _mm512_maskz_loadu_ps(static_cast<__mmask16>(n < 16 ? (1 << n) - 1 : 0xFFFF), from);
}
#else
inline float sumOfLanes(Vec value) {
    float sum = 0.0F;
    for (int lane = 0; lane < kWidth; ++lane)
        sum += value[lane];
    return sum;
}
#endif

#if TD_KERNEL_WIDTH == 16
inline Vec joined(HalfVec low, HalfVec high) {
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}
inline Vec reversed(Vec v) {
    return __builtin_shufflevector(v, v, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}

/// Lane i of vector j becomes lane j of vector i: within the quarters, then quarters as a whole.
[[gnu::always_inline]] inline void transpose(Vec (&v)[16]) {
    for (int i = 0; i < 16; i += 4) {
        const Vec low01 = _mm512_unpacklo_ps(v[i], v[i + 1]);
        const Vec high01 = _mm512_unpackhi_ps(v[i], v[i + 1]);
        const Vec low23 = _mm512_unpacklo_ps(v[i + 2], v[i + 3]);
        const Vec high23 = _mm512_unpackhi_ps(v[i + 2], v[i + 3]);
        v[i] = _mm512_shuffle_ps(low01, low23, 0x44);
        v[i + 1] = _mm512_shuffle_ps(low01, low23, 0xEE);
        v[i + 2] = _mm512_shuffle_ps(high01, high23, 0x44);
        v[i + 3] = _mm512_shuffle_ps(high01, high23, 0xEE);
    }
    for (int i = 0; i < 4; ++i) {
        const Vec even01 = _mm512_shuffle_f32x4(v[i], v[i + 4], 0x88);
        const Vec odd01 = _mm512_shuffle_f32x4(v[i], v[i + 4], 0xDD);
        const Vec even23 = _mm512_shuffle_f32x4(v[i + 8], v[i + 12], 0x88);
        const Vec odd23 = _mm512_shuffle_f32x4(v[i + 8], v[i + 12], 0xDD);
        v[i] = _mm512_shuffle_f32x4(even01, even23, 0x88);
        v[i + 4] = _mm512_shuffle_f32x4(odd01, odd23, 0x88);
        v[i + 8] = _mm512_shuffle_f32x4(even01, even23, 0xDD);
        v[i + 12] = _mm512_shuffle_f32x4(odd01, odd23, 0xDD);
    }
}
#elif TD_KERNEL_WIDTH == 8
inline Vec reversed(Vec v) { return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0); }

#if defined(TD_KERNEL_INTRINSICS)
inline Vec joined(HalfVec low, HalfVec high) { return _mm256_set_m128(high, low); }
inline Vec lowAndHighHalf(Vec low, Vec high) { return _mm256_blend_ps(low, high, 0xF0); }
#else
inline Vec joined(HalfVec low, HalfVec high) {
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
}
inline Vec lowAndHighHalf(Vec low, Vec high) {
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 12, 13, 14, 15);
}
#endif

/// Lane i of vector j becomes lane j of vector i.
[[gnu::always_inline]] inline void transpose(Vec (&v)[8]) {
    Vec pairs[8], quads[8];
    for (int i = 0; i < 8; i += 2) {
        pairs[i] = __builtin_shufflevector(v[i], v[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pairs[i + 1] = __builtin_shufflevector(v[i], v[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    for (int block = 0; block < 8; block += 4)
        for (int i = block; i < block + 2; ++i) {
            const Vec low = pairs[i], high = pairs[i + 2];
            const int to = 2 * i - block;
            quads[to] = __builtin_shufflevector(low, high, 0, 1, 8, 9, 4, 5, 12, 13);
            quads[to + 1] = __builtin_shufflevector(low, high, 2, 3, 10, 11, 6, 7, 14, 15);
        }
    // Shuffles across the halves of a vector are dear, choices between two vectors are cheap.
    for (int i = 0; i < 4; ++i) {
        const Vec low = quads[i], high = quads[i + 4];
        const Vec middle = __builtin_shufflevector(low, high, 4, 5, 6, 7, 8, 9, 10, 11);
        v[i] = lowAndHighHalf(low, middle);
        v[i + 4] = lowAndHighHalf(middle, high);
    }
}
#else
inline Vec joined(HalfVec low, HalfVec high) {
    return __builtin_shufflevector(low, high, 0, 1, 2, 3);
}
inline Vec reversed(Vec v) { return __builtin_shufflevector(v, v, 3, 2, 1, 0); }

/// Lane i of vector j becomes lane j of vector i.
[[gnu::always_inline]] inline void transpose(Vec (&v)[4]) {
    const Vec low01 = __builtin_shufflevector(v[0], v[1], 0, 4, 1, 5);
    const Vec high01 = __builtin_shufflevector(v[0], v[1], 2, 6, 3, 7);
    const Vec low23 = __builtin_shufflevector(v[2], v[3], 0, 4, 1, 5);
    const Vec high23 = __builtin_shufflevector(v[2], v[3], 2, 6, 3, 7);
    v[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    v[1] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    v[2] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    v[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
}
#endif

} // namespace
} // namespace dsp::TD_KERNEL_SET
