#include "tests/support/ReferenceDucker.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace support {
namespace {

constexpr double kPi = std::numbers::pi;

int sizeFor(double rate) {
    const double frame = std::floor(rate * 0.021 + 0.5);
    return frame <= 512 ? 512 : frame <= 1024 ? 1024 : frame <= 2048 ? 2048 : 4096;
}

std::size_t at(int index) { return static_cast<std::size_t>(index); }

} // namespace

ReferenceDucker::ReferenceDucker(double sampleRate)
    : rate(sampleRate), n(sizeFor(sampleRate)), hop(n / 2), ownMagnitude(at(n / 2), 0.0),
      binGain(at(n / 2), 1.0) {
    for (int i = 0; i < n; ++i)
        window.push_back(std::sin(kPi * i / n));
    for (Channel& channel : channels)
        channel.in.assign(at(hop), 0.0); // frame 0 begins a hop before the first sample
}

void ReferenceDucker::process(const Settings& settings, std::span<const double> peer,
                              std::span<const double> inL, std::span<const double> inR,
                              std::span<double> outL, std::span<double> outR) {
    for (std::size_t i = 0; i < inL.size(); ++i) {
        const std::size_t now = channels[0].in.size() - at(hop);
        channels[0].in.push_back(inL[i]);
        channels[1].in.push_back(inR[i]);
        for (Channel& channel : channels)
            channel.out.resize(std::max(channel.out.size(), now + 1));
        if ((now + 1) % at(hop) == 0)
            runFrame(settings, peer);
        outL[i] = channels[0].out[now];
        outR[i] = channels[1].out[now];
    }
}

void ReferenceDucker::runFrame(const Settings& settings, std::span<const double> peer) {
    for (Channel& channel : channels) {
        Spectrum windowed(at(n));
        for (int i = 0; i < n; ++i)
            windowed[at(i)] = channel.in[channel.in.size() - at(n) + at(i)] * window[at(i)];
        channel.spectrum = transform(windowed);
    }
    const auto packedMagnitude = [this](const Channel& channel, int bin) {
        const double nyquist = bin == 0 ? std::abs(channel.spectrum[at(hop)]) : 0.0;
        return 2.0 * std::hypot(std::abs(channel.spectrum[at(bin)]), nyquist);
    };
    for (int bin = 0; bin < hop; ++bin)
        ownMagnitude[at(bin)] =
            (packedMagnitude(channels[0], bin) + packedMagnitude(channels[1], bin)) / 2.0;
    glideGains(settings, peer);
    for (Channel& channel : channels)
        resynthesise(channel, settings.outputGain);
}

double ReferenceDucker::targetGain(const Settings& settings, double hz, double peer) const {
    const std::size_t band = hz < settings.lowSplitHz ? 0 : hz < settings.highSplitHz ? 1 : 2;
    const double levelDb = 20.0 * std::log10(std::max(peer, 1e-9) / (n / kPi));
    const double over = levelDb - settings.thresholdDb[band];
    if (over <= 0.0 || settings.ratio[band] <= 1.0)
        return 1.0;
    return std::pow(10.0, -(1.0 - 1.0 / settings.ratio[band]) * over / 20.0);
}

void ReferenceDucker::glideGains(const Settings& settings, std::span<const double> peer) {
    const auto coef = [this](double ms) { // in single precision by definition
        const auto frames = static_cast<float>(ms) * 0.001F * static_cast<float>(rate / hop);
        return double{std::exp(-1.0F / frames)};
    };
    for (int bin = 1; bin <= hop - 2; ++bin) {
        const double hz = bin * rate / n;
        const bool ducked =
            hz >= settings.hpHz && hz <= settings.lpHz && !peer.empty() && bin < 1024;
        const double target = ducked ? targetGain(settings, hz, peer[at(bin)]) : 1.0;
        double& gain = binGain[at(bin)];
        gain =
            target + (gain - target) * coef(target < gain ? settings.attackMs : settings.releaseMs);
    }
}

void ReferenceDucker::resynthesise(Channel& channel, double outputGain) const {
    Spectrum& points = channel.spectrum;
    for (int bin = 1; bin < hop; ++bin) {
        points[at(bin)] *= binGain[at(bin)];
        points[at(n - bin)] *= binGain[at(bin)];
    }
    // The inverse of a real signal's spectrum is the transform of its conjugate, over n.
    const Spectrum samples =
        transform(points.apply([](const auto& point) { return std::conj(point); }));
    // The frame's first sample has the number in.size() − n − hop, as `in` began a hop early.
    const std::size_t start = channel.in.size() - at(n) - at(hop) + at(2 * n);
    channel.out.resize(std::max(channel.out.size(), start + at(n)));
    for (int i = 0; i < n; ++i)
        channel.out[start + at(i)] += samples[at(i)].real() / n * window[at(i)] * outputGain;
}

ReferenceDucker::Spectrum ReferenceDucker::transform(const Spectrum& points) {
    const std::size_t length = points.size(), half = length / 2;
    if (length == 1)
        return points;
    const Spectrum even = transform(points[std::slice(0, half, 2)]);
    const Spectrum odd = transform(points[std::slice(1, half, 2)]);
    Spectrum result(length);
    for (std::size_t k = 0; k < half; ++k) {
        const auto turned = odd[k] * std::polar(1.0, -2.0 * kPi * double(k) / double(length));
        result[k] = even[k] + turned;
        result[k + half] = even[k] - turned;
    }
    return result;
}

} // namespace support
