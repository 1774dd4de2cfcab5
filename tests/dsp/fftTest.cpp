#include "dsp/fft.h"
#include "tests/support/ReferenceDucker.h"
#include "tests/support/Test.h"

namespace {

class Transform : public testing::TestWithParam<int> {};

TEST_P(Transform, IsTwiceTheDftPackedAndItsInverseGives2N) {
    const int n = GetParam();
    const auto half = static_cast<std::size_t>(n / 2);
    dsp::fft::initTables();
    Dice dice(7);
    std::vector<float> data(2 * half);
    for (float& sample : data)
        sample = static_cast<float>(dice.between(-1, 1));
    const std::vector<float> before = data;
    support::ReferenceDucker::Spectrum plain(before.size());
    std::ranges::copy(before, begin(plain));
    plain = support::ReferenceDucker::transform(plain);

    dsp::fft::forwardReal(data.data(), n);
    for (std::size_t k = 0; k < half; ++k) {
        const auto pair = static_cast<std::size_t>(dsp::fft::binOrder(n)[k]);
        const std::complex<double> got(data[2 * pair], data[2 * pair + 1]);
        const auto packed = k > 0 ? plain[k] : std::complex(plain[0].real(), plain[half].real());
        ASSERT_LT(std::abs(got - 2.0 * packed), 1e-6 * std::sqrt(n) * std::log2(n)) << k;
    }
    dsp::fft::inverseReal(data.data(), n);
    for (std::size_t i = 0; i < data.size(); ++i)
        ASSERT_NEAR(data[i] / (2.0 * n), before[i], 1e-6) << i;
}

INSTANTIATE_TEST_SUITE_P(sizes, Transform, testing::Values(2, 4, 8, 512, 1024, 2048, 4096));

} // namespace
