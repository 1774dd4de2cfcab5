#pragma once

#include <fftw3.h>

#include <memory>

namespace bench {

/// FFTW's transforms of one size, as the best of three patient plans; data of its own.
class Yardstick {
public:
    explicit Yardstick(int size);
    ~Yardstick();
    Yardstick(const Yardstick&) = delete;
    Yardstick& operator=(const Yardstick&) = delete;

    /// What two channels take: two real transforms forward, two back.
    void fourReal() const;
    /// One complex transform forward, one back.
    void twoComplex() const;

private:
    using Plan = std::unique_ptr<fftwf_plan_s, void (*)(fftwf_plan)>;

    template <class Maker>
    [[nodiscard]] Plan bestOfThree(const Maker& make);
    void refill();

    int n;
    float* samples;
    fftwf_complex* spectrum;
    Plan realForward, realBack, complexForward, complexBack;
};

} // namespace bench
