#pragma once

namespace dsp {

/// One step of the gains towards what a peer's spectrum asks for, for the kernels; see PairFrame.
/// `bins` is a multiple of 8; all arrays hold as many values and, but for the peer's, are aligned
/// to 64 bytes.
///
/// The target of a bin is (peer · inverseThreshold)^power where that product is above 1, else 1;
/// a product that is no number counts as below, an infinite one makes it 0.
struct GainGlide {
    const float* peer;             ///< magnitudes; any bit pattern
    const float* inverseThreshold; ///< 1 / magnitude, finite; 0: never reduced
    const float* power;            ///< −1 to 0
    float* gain;                   ///< 0 to 1
    float* carry;                  ///< what rounding has taken from the gains so far
    float attackCoef;              ///< part of the distance that is left, while falling
    float releaseCoef;             ///< the same while rising
    int bins;
};

} // namespace dsp
