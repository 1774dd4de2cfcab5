#include "dsp/fft.h"
#include "tests/support/ReferenceDucker.h"
#include "tests/support/Test.h"

#include <numbers>

namespace {

using Spectrum = support::ReferenceDucker::Spectrum;

/// The definition, with the angle reduced to one turn so that double precision holds.
Spectrum plainDft(const Spectrum& x) {
    const std::size_t n = x.size();
    Spectrum result(n);
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t i = 0; i < n; ++i)
            result[k] +=
                x[i] * std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(i * k % n) /
                                           static_cast<double>(n));
    return result;
}

class Transform : public testing::TestWithParam<int> {};

TEST_P(Transform, IsTwiceTheDftPackedAndItsInverseGives2N) {
    const int n = GetParam();
    const auto half = static_cast<std::size_t>(n / 2);
    dsp::fft::initTables();
    std::mt19937 random(7);
    std::vector<float> data(2 * half);
    for (float& sample : data)
        sample = std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
    const std::vector<float> before = data;
    const Spectrum plain = plainDft({before.begin(), before.end()});

    dsp::fft::forwardReal(data.data(), n);
    double peak = 0.0, error = 0.0;
    for (std::size_t k = 0; k < half; ++k) {
        const auto pair = static_cast<std::size_t>(dsp::fft::binOrder(n)[k]);
        const std::complex<double> got(data[2 * pair], data[2 * pair + 1]);
        const auto packed = k > 0 ? plain[k] : std::complex(plain[0].real(), plain[half].real());
        peak = std::max(peak, 2.0 * std::abs(packed));
        error = std::max(error, std::abs(got - 2.0 * packed));
    }
    EXPECT_LT(error / peak, 1e-6);

    dsp::fft::inverseReal(data.data(), n);
    for (std::size_t i = 0; i < data.size(); ++i)
        ASSERT_NEAR(data[i] / (2.0 * n), before[i], 1e-6) << i;

    // The reference model rests on a transform of its own, by the same definition.
    const Spectrum model = support::ReferenceDucker::transform({before.begin(), before.end()});
    for (std::size_t k = 0; k < model.size(); ++k)
        ASSERT_LT(std::abs(model[k] - plain[k]), 1e-9) << k;
}

INSTANTIATE_TEST_SUITE_P(sizes, Transform, testing::Values(2, 4, 8, 512, 1024, 2048, 4096));

} // namespace
