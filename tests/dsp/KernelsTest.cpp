#include "dsp/Kernels.h"
#include "dsp/DenormalGuard.h"
#include "dsp/SpectralProcessor.h"
#include "tests/support/ReferenceDucker.h"
#include "tests/support/Test.h"

namespace {

enum class Peer { None, Loud, Odd, Quiet };

struct Phase {
    const char* what;
    int frames;
    Peer peer;
    double attackMs, releaseMs;
    double leftLevel = 0.5, rightLevel = 0.5;
};

/// One after the other, so that each begins with what the one before has left.
constexpr Phase kPhases[] = {
    {"every bin is turned down", 6, Peer::Loud, 5, 50},
    {"slowly", 8, Peer::Loud, 300, 2000},
    {"a peer of odd numbers", 3, Peer::Odd, 5, 50},
    {"nothing above the threshold", 3, Peer::Quiet, 5, 50},
    {"left falls silent, a loud peer", 7, Peer::Loud, 50, 5, 0.0, 0.5},
    {"right falls silent, and the peer goes", 7, Peer::None, 50, 5, 0.5, 0.0},
    {"all gains come back to 1", 14, Peer::None, 50, 5}};

std::vector<float> magnitudes(Peer peer, int frame, int n) {
    std::minstd_rand random(static_cast<unsigned>(frame + 1));
    std::uniform_real_distribution<double> overDb(0.1, 60.0);
    std::vector<float> values(static_cast<std::size_t>(std::min(n / 2, dsp::kExchangedBins)));
    for (float& value : values) // thresholds are −20 dB
        value = static_cast<float>(
            n / 3.14159265358979 *
            std::pow(10.0, ((peer == Peer::Quiet ? -61.0 : 0.0) + overDb(random) - 20.0) / 20.0));
    const float odd[] = {kNan, -1.0F, kInfinity, 0.0F, -kInfinity, 1e-40F};
    for (std::size_t i = 0; peer == Peer::Odd && i < values.size(); i += 5)
        values[i] = odd[i % std::size(odd)];
    return values;
}

/// A processor for each set of kernels, on the same data as the double-precision model.
class KernelSets : public testing::TestWithParam<double> {
protected:
    using Processor = std::unique_ptr<dsp::SpectralProcessor>;

    KernelSets() : model(rate) {
        for (const dsp::Kernels* set : dsp::usableKernels()) {
            processors.push_back(std::make_unique<dsp::SpectralProcessor>(*set));
            processors.back()->reset(rate);
        }
    }

    /// The i-th of the phase; frames are numbered throughout.
    void runFrame(const Phase& phase, int i, int frame) {
        const auto hop = static_cast<std::size_t>(model.size() / 2);
        Stereo in = support::noise(hop, 1.0, static_cast<unsigned>(frame));
        for (double& sample : in.left)
            sample *= phase.leftLevel;
        for (double& sample : in.right)
            sample *= phase.rightLevel;
        const std::vector<float> peer = magnitudes(phase.peer, frame, model.size());
        const bool linked = phase.peer != Peer::None;
        Stereo expected = in;
        std::vector<double> modelPeer(linked ? peer.begin() : peer.end(), peer.end());
        for (double& value : modelPeer)
            value = value == value ? value : 0.0; // NaN counts as nothing
        model.process({.ratio = {2.0, 4.0, 20.0},
                       .lowSplitHz = 310.0,
                       .highSplitHz = 2900.0,
                       .hpHz = 10.0,
                       .lpHz = 1e5,
                       .attackMs = phase.attackMs,
                       .releaseMs = phase.releaseMs},
                      modelPeer, in.left, in.right, expected.left, expected.right);
        for (const Processor& processor : processors) {
            SCOPED_TRACE(processor->kernels->name);
            processor->setTimes(phase.attackMs, phase.releaseMs);
            Stereo out = in;
            processor->stream({.peerMagnitude = peer.data(),
                               .peerValid = linked,
                               .reduction = {.thresholdDb = {-20.0, -20.0, -20.0},
                                             .ratio = {2.0, 4.0, 20.0},
                                             .lowSplitHz = 310.0,
                                             .highSplitHz = 2900.0,
                                             .hpHz = 10.0,
                                             .lpHz = 1e5}},
                              out.left.data(), out.right.data(), out.left.data(), out.right.data(),
                              static_cast<int>(hop));
            EXPECT_LT(support::largestError(out, expected, 0, 1.0, 0), 1e-6);
            // Exactly silent, once two frames later nothing of before is left.
            const std::vector<double> silence(hop);
            EXPECT_TRUE(i < 5 || ((phase.leftLevel > 0.0 || out.left == silence) &&
                                  (phase.rightLevel > 0.0 || out.right == silence)));
            compareSpectra(*processor);
        }
    }

    void compareSpectra(const dsp::SpectralProcessor& p) const {
        const auto& magnitude = model.magnitude();
        const auto& gains = model.gains();
        const double largest = std::ranges::max(magnitude);
        std::array<double, 3> sum{}, count{};
        for (std::size_t bin = 0; bin < gains.size(); ++bin) {
            ASSERT_NEAR(p.magnitude[bin], magnitude[bin], 1e-6 * largest) << bin;
            ASSERT_NEAR(p.binGain[bin], gains[bin], 1e-6 * gains[bin] + 1e-12) << bin;
            const double hz = static_cast<double>(bin) * rate / model.size();
            const std::size_t band = hz < 310.0 ? 0 : hz < 2900.0 ? 1 : 2;
            sum[band] += bin > 0 ? gains[bin] : 0.0;
            count[band] += bin > 0 ? 1.0 : 0.0;
        }
        const float metersDb[] = {p.grLowDb, p.grMidDb, p.grHighDb};
        for (std::size_t band = 0; band < 3; ++band)
            EXPECT_NEAR(metersDb[band], 20.0 * std::log10(sum[band] / count[band]), 2e-5) << band;
    }

    double rate = GetParam();
    ReferenceDucker model;
    std::vector<Processor> processors;
};

TEST_P(KernelSets, DoAsTheModelToOneMillionthThroughAllPhases) {
    const dsp::DenormalGuard guard;
    int frame = 0;
    for (const Phase& phase : kPhases)
        for (int i = 0; i < phase.frames; ++i) {
            SCOPED_TRACE(testing::Message() << phase.what << ", frame " << i);
            runFrame(phase, i, ++frame);
            if (HasFatalFailure() || HasNonfatalFailure())
                return;
        }
    for (const Processor& processor : processors)
        for (const float gain : processor->binGain)
            ASSERT_EQ(gain, 1.0F) << processor->kernels->name;
}

INSTANTIATE_TEST_SUITE_P(sizes, KernelSets, testing::Values(22050.0, 48000.0, 96000.0, 192000.0),
                         [](const auto& row) { return std::to_string(int(row.param)); });

/// Bins that are all alike.
struct Bins {
    alignas(64) std::array<float, 64> peer, inverse, power, gain, carry{};

    Bins(double excess, double toThe, double before) {
        peer.fill(static_cast<float>(excess));
        inverse.fill(1.0F);
        power.fill(static_cast<float>(toThe));
        gain.fill(static_cast<float>(before));
    }
    bool glide(const dsp::Kernels& set, float coef) {
        return set.glideGains(
            {peer.data(), inverse.data(), power.data(), gain.data(), carry.data(), coef, coef, 64});
    }
};

TEST(Kernels, GlideSlowlyWithoutStalling) {
    const dsp::DenormalGuard guard;
    for (const dsp::Kernels* set : dsp::usableKernels())
        for (const double goal : {1.0, 0.3}) { // up from 0.001 to it
            Bins bins(1.0 / goal, -1.0, 0.001);
            const float coef = 0.9946808F; // 2000 ms at 93.75 frames a second
            double expected = bins.gain[0];
            const double target = goal < 1.0 ? 1.0 / double{bins.peer[0]} : 1.0;
            for (int step = 0; step < 3000; ++step) {
                const bool unity = bins.glide(*set, coef);
                expected = target + double{coef} * (expected - target);
                ASSERT_NEAR(bins.gain[49] / expected, 1.0, 1e-6) << set->name << ", step " << step;
                ASSERT_EQ(unity, bins.gain[0] == 1.0F);
            }
            EXPECT_EQ(bins.gain[0] == 1.0F, goal == 1.0) << set->name;
        }
}

/// At once, with coefficients of 0: gains over the whole range of floats and all powers.
TEST(Kernels, ReduceAnyExcessByAnyPower) {
    const dsp::DenormalGuard guard;
    for (const dsp::Kernels* set : dsp::usableKernels())
        for (const double power : {-1.0, -0.9999, -0.75, -0.5, -1e-3, 0.0})
            for (double excess = 1.0000002; excess <= kMaxFloat; excess *= 1.013) {
                Bins bins(excess, power, 0.0);
                bins.glide(*set, 0.0F);
                const double expected = std::pow(double{bins.peer[0]}, double{bins.power[0]});
                const double error = expected > 1e-4 ? 5e-7 : 1e-5;
                ASSERT_NEAR(bins.gain[63], expected, error * expected + 1e-37)
                    << set->name << ", " << excess << " to the " << power;
            }
}

/// Of every length, so that each lane and each rest holds each of the odd values once.
TEST(Kernels, SumAndNarrowAnyLength) {
    const float odd[] = {kNan,       kMaxFloat, -1.0F,     kInfinity, 0.25F,
                         -kInfinity, -0.0F,     kMaxFloat, -kNan};
    for (const dsp::Kernels* set : dsp::usableKernels())
        for (int n = 0; n < 70; ++n) {
            SCOPED_TRACE(testing::Message() << set->name << ", " << n);
            std::vector<float> from, to(70, 7.0F);
            std::vector<double> left(70);
            double sum = 0.0;
            for (int i = 0; i < n; ++i) {
                from.push_back(odd[(i + n) % 9]);
                sum += from.back() >= 0.0F && from.back() <= kMaxFloat ? from.back() : 0.0F;
                left[std::size_t(i)] = i + 0.1;
            }
            EXPECT_NEAR(set->sumOfMagnitudes(from.data(), n), sum, 1e-12 * sum);
            set->narrow(left.data(), to.data(), n);
            for (int i = 0; i < 70; ++i)
                EXPECT_EQ(to[std::size_t(i)], i < n ? static_cast<float>(i + 0.1) : 7.0F) << i;
        }
}

TEST(Kernels, TakeAnySamplesAndAnyLength) {
    for (const dsp::Kernels* set : dsp::usableKernels()) {
        SCOPED_TRACE(set->name);
        std::vector<double> in(37, 0.25), other(38, -3.0);
        const double odd[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300, 1e-320};
        std::copy(std::begin(odd), std::end(odd), in.begin());
        std::copy(std::begin(odd), std::end(odd), in.end() - 6);
        const std::vector<float> expected = {0.0F, 1e15F, -1e15F, 1e15F, -1e15F, 0.0F, 0.25F};
        std::vector<float> ready(38), left(38), right(38), minusThree(37, -3.0F);
        minusThree.push_back(0.0F); // not beyond the end
        std::iota(ready.begin(), ready.end(), 1.0F);
        set->exchange({in.data(), other.data(), left.data(), right.data(), ready.data(),
                       ready.data() + 1, other.data(), in.data(), 37}); // over each other
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), left.begin()));
        EXPECT_TRUE(std::equal(expected.begin(), expected.end() - 1, left.begin() + 31));
        EXPECT_EQ(right, minusThree);
        EXPECT_TRUE(other[0] == 1.0 && other[36] == 37.0 && in[0] == 2.0 && in[36] == 38.0);
        EXPECT_EQ(other[37], -3.0) << "beyond the end";
        set->widen(ready.data() + 5, in.data(), 27);
        EXPECT_TRUE(in[0] == 6.0 && in[26] == 32.0 && in[27] == 29.0);
        alignas(64) std::array<float, 64> values{};
        for (int last = 0; last < 64; ++last) {
            values.fill(0.0F);
            EXPECT_TRUE(set->isSilent(values.data(), 64));
            values[static_cast<std::size_t>(last)] = -2.0F;
            EXPECT_FALSE(set->isSilent(values.data(), 64)) << last;
            EXPECT_EQ(set->sumOf(values.data() + 1, last), last > 0 ? -2.0F : 0.0F) << last;
        }
    }
}

} // namespace
