/// The gains of all bins: what the peer's magnitudes ask for, and the way there.
#pragma once

#include "dsp/Kernels.h"
#include "dsp/kernels/Vector.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// Coefficients as whole vectors, filled at run time: constants the compiler would broadcast anew
/// at each use, a quarter of all instructions here.
struct GainConstants {
    Vec log2[8]; ///< log2(1 + x) = x · (log2[0] + log2[1]·x + …) to 6e-8 for |x| ≤ 1/3
    Vec exp2[8]; ///< 2^x to 3e-8 of it for −0.92 ≤ x ≤ 1.09
    Vec lowestPower, rounder, almostOne, infinity;
    BitVec twoThirds;
};
GainConstants sGainConstants;

void fillGainConstants() {
    constexpr float kLog2[8] = {1.44269366F,  -0.721347384F, 0.481051171F, -0.360719166F,
                                0.283988763F, -0.238200648F, 0.255276590F, -0.214317669F};
    constexpr float kExp2[8] = {0.999999989F,   0.693147168F,   0.240226844F,    0.0555043437F,
                                0.00961647352F, 0.00133257795F, 0.000156663233F, 1.59616589e-05F};
    GainConstants& k = sGainConstants;
    for (int i = 0; i < 8; ++i) {
        k.log2[i] = broadcast(kLog2[i]);
        k.exp2[i] = broadcast(kExp2[i]);
    }
    k.lowestPower = broadcast(-124.0F);
    k.rounder = broadcast(12582912.0F); // 1.5 · 2^23: adding it rounds to whole numbers
    k.almostOne = broadcast(1.0F - 5e-7F);
    k.infinity = broadcast(__builtin_inff());
    k.twoThirds = bitsOf(broadcast(0.66666667F));
}

/// As a tree: its terms do not wait for each other.
inline Vec polynomial(Vec x, const Vec (&c)[8]) {
    const Vec x2 = x * x;
    return ((c[0] + c[1] * x) + x2 * (c[2] + c[3] * x)) +
           (x2 * x2) * ((c[4] + c[5] * x) + x2 * (c[6] + c[7] * x));
}

/// A power of two, 2^(whole + rest).
struct PowerOfTwo {
    Vec rest;
    BitVec whole; ///< in its low bits
};

/// x^power for x ≥ 1 and −1 ≤ power ≤ 0; about 2^-124 where it would be less, and near the end of
/// what floats can say. With x = 2^exponent · (1 + fraction), 1 + fraction in [2/3, 4/3), the
/// exponent alone decides what is whole: the logarithm comes too late to wait for, and in a sum
/// with it would lose digits that matter for large exponents.
inline PowerOfTwo raised(Vec x, Vec power) {
    const GainConstants& k = sGainConstants;
    const IntVec exponentBits = reinterpret_cast<IntVec>(bitsOf(x) - k.twoThirds) >> 23;
    const Vec fraction =
        fromBits(bitsOf(x) - (reinterpret_cast<BitVec>(exponentBits) << 23)) - 1.0F;
    const Vec exponent = larger(power * __builtin_convertvector(exponentBits, Vec), k.lowestPower);
    const Vec shifted = exponent + k.rounder;
    const Vec rest =
        (exponent - (shifted - k.rounder)) + (power * fraction) * polynomial(fraction, k.log2);
    return {rest, bitsOf(shifted)};
}

/// Relative error below 5e-7 for results above 1e-4.
inline Vec valueOf(PowerOfTwo number) {
    return fromBits(bitsOf(polynomial(number.rest, sGainConstants.exp2)) + (number.whole << 23));
}

/// One step of a vector of gains to a vector of targets.
class GlideStep {
public:
    GlideStep(float attackCoef, float releaseCoef)
        : fallKeep(broadcast(attackCoef)), riseKeep(broadcast(releaseCoef)),
          risePart(1.0F - riseKeep) {}

    /// A gain is low + part · distance: of positive terms, so that small ones keep their digits.
    /// The carry is what rounding took from earlier steps: without it slow glides stall on the way.
    Vec operator()(Vec before, Vec target, float* carry) const {
        const IntVec falls = target < before;
        const Vec low = smaller(before, target);
        const Vec distance = absolute(before - target);
        const Vec step =
            (falls ? fallKeep : risePart) * distance + (falls ? fallKeep : riseKeep) * load(carry);
        const Vec after = low + step;
        store(carry, step - (after - low));
        return after;
    }

private:
    Vec fallKeep, riseKeep, risePart;
};

/// One step of all gains. True if all are 1 now.
bool glideGains(const GainGlide& glide) {
    constexpr int kBlock = 4; // vectors: each step waits long for its result, others fill the time
    const GainConstants& k = sGainConstants;
    const Vec one = broadcast(1.0F);
    const GlideStep step(glide.attackCoef, glide.releaseCoef);
    Vec lowest = one;
    for (int start = 0; start < glide.bins; start += kBlock * kWidth) {
        Vec over[kBlock]; // multiples of the threshold; 0 for bins without one
        IntVec busy{};
        for (int i = 0; i < kBlock; ++i) {
            const int bin = start + i * kWidth;
            over[i] = loadAnywhere(glide.peer + bin) * load(glide.inverseThreshold + bin);
            busy |= (over[i] > one) | (load(glide.gain + bin) != one);
        }
        if (!anyOf(busy))
            continue;
        PowerOfTwo powers[kBlock];
        for (int i = 0; i < kBlock; ++i)
            powers[i] = raised(over[i], load(glide.power + start + i * kWidth));
        Vec reduced[kBlock];
        for (int i = 0; i < kBlock; ++i)
            reduced[i] = valueOf(powers[i]);
        for (int i = 0; i < kBlock; ++i) {
            const int bin = start + i * kWidth;
            const IntVec above = over[i] > one; // false for NaN
            const Vec target = above ? (over[i] == k.infinity ? Vec{} : reduced[i]) : one;
            const Vec after = step(load(glide.gain + bin), target, glide.carry + bin);
            const Vec gain = ((after > k.almostOne) & ~above) ? one : after;
            store(glide.gain + bin, gain);
            lowest = smaller(lowest, gain);
        }
    }
    return !anyOf(lowest < one);
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
