#pragma once

#include <array>
#include <complex>
#include <span>
#include <valarray>
#include <vector>

namespace support {

/// Double-precision model of an instance's audio path, written from the formulas alone: it shares
/// no code with the engine and keeps whole signals where that has rings and accumulators. Frame j
/// covers the input samples (j−1)·hop to (j+1)·hop and is heard 2N samples later.
class ReferenceDucker {
public:
    struct Settings {
        std::array<double, 3> thresholdDb{-20.0, -20.0, -20.0};
        std::array<double, 3> ratio{4.0, 4.0, 4.0};
        double lowSplitHz = 200.0, highSplitHz = 5000.0;
        double hpHz = 20.0, lpHz = 20000.0;
        double attackMs = 10.0, releaseMs = 100.0;
        double outputGain = 1.0;
    };

    explicit ReferenceDucker(double sampleRate);

    /// Streams a block in which settings and peer stay the same; out may be in. An empty peer is no
    /// peer. The peer's values are magnitudes as magnitude() gives them, so that two models can be
    /// coupled block by block. All four channels have the same length.
    void process(const Settings& settings, std::span<const double> peer,
                 std::span<const double> inL, std::span<const double> inR, std::span<double> outL,
                 std::span<double> outR);

    [[nodiscard]] int size() const { return n; }
    /// The last frame's own spectrum: n/2 values, zeros before the first frame.
    [[nodiscard]] const std::vector<double>& magnitude() const { return ownMagnitude; }

    /// The last frame's gains: n/2 values.
    [[nodiscard]] const std::vector<double>& gains() const { return binGain; }

    using Spectrum = std::valarray<std::complex<double>>;
    /// Plain forward transform; the length is a power of two.
    static Spectrum transform(const Spectrum& points);

private:
    struct Channel {
        std::vector<double> in, out;
        Spectrum spectrum;
    };

    void runFrame(const Settings& settings, std::span<const double> peer);
    void glideGains(const Settings& settings, std::span<const double> peer);
    void resynthesise(Channel& channel, double outputGain) const;
    [[nodiscard]] double targetGain(const Settings& settings, double hz, double peer) const;

    double rate;
    int n, hop;
    std::array<Channel, 2> channels;
    std::vector<double> window, ownMagnitude, binGain;
};

} // namespace support
