#include "bench/Yardstick.h"
#include "bench/Interleaved.h"

#include <algorithm>

namespace bench {
namespace {

fftwf_complex* asComplex(float* floats) { return reinterpret_cast<fftwf_complex*>(floats); }

} // namespace

Yardstick::Yardstick(int size)
    : n(size), samples(fftwf_alloc_real(2 * static_cast<std::size_t>(size))),
      spectrum(fftwf_alloc_complex(static_cast<std::size_t>(size))),
      realForward(bestOfThree(
          [this] { return fftwf_plan_dft_r2c_1d(n, samples, spectrum, FFTW_PATIENT); })),
      realBack(bestOfThree(
          [this] { return fftwf_plan_dft_c2r_1d(n, spectrum, samples, FFTW_PATIENT); })),
      complexForward(bestOfThree([this] {
          return fftwf_plan_dft_1d(n, asComplex(samples), spectrum, FFTW_FORWARD, FFTW_PATIENT);
      })),
      complexBack(bestOfThree([this] {
          return fftwf_plan_dft_1d(n, spectrum, asComplex(samples), FFTW_BACKWARD, FFTW_PATIENT);
      })) {
    refill();
}

Yardstick::~Yardstick() {
    fftwf_free(samples);
    fftwf_free(spectrum);
}

/// Zeros: unnormalised transforms one after the other would grow anything else to infinity, and
/// their speed does not depend on the data as long as these are normal numbers or 0.
void Yardstick::refill() {
    std::fill_n(samples, 2 * n, 0.0F);
    std::fill_n(&spectrum[0][0], 2 * n, 0.0F);
}

template <class Maker>
Yardstick::Plan Yardstick::bestOfThree(const Maker& make) {
    Plan best(nullptr, fftwf_destroy_plan);
    double bestTime = 1.0;
    for (int attempt = 0; attempt < 3; ++attempt) {
        fftwf_forget_wisdom();
        Plan plan(make(), fftwf_destroy_plan);
        refill();
        const Contender contender = calibrated([&plan] { fftwf_execute(plan.get()); });
        double time = 1.0;
        for (int i = 0; i < 200; ++i)
            time = std::min(time, slice(contender));
        if (time < bestTime) {
            bestTime = time;
            best = std::move(plan);
        }
    }
    return best;
}

void Yardstick::fourReal() const {
    for (int channel = 0; channel < 2; ++channel)
        fftwf_execute(realForward.get());
    for (int channel = 0; channel < 2; ++channel)
        fftwf_execute(realBack.get());
}

void Yardstick::twoComplex() const {
    fftwf_execute(complexForward.get());
    fftwf_execute(complexBack.get());
}

} // namespace bench
