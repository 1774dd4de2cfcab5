#include "dsp/Display.h"
#include "dsp/SpectralProcessor.h"
#include "tests/support/Test.h"
#include "ui/Canvas.h"

namespace {

constexpr double kRate = 48000;
constexpr int kBin = 20; // 937.5 Hz, where display bands are narrower than bins

/// A sine in the middle of its bin, through the engine, whose transform makes half scale 0 dB.
std::unique_ptr<dsp::SpectralProcessor> hear(double levelDb) {
    auto engine = std::make_unique<dsp::SpectralProcessor>();
    const std::uint32_t size = engine->reset(kRate);
    std::vector<double> tone(4UL * size);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] =
            0.5 * dsp::fromDb(levelDb) * std::sin(2 * M_PI * kBin / size * static_cast<double>(i));
    std::vector<double> out(tone.size());
    engine->stream({}, tone.data(), nullptr, out.data(), nullptr, static_cast<int>(tone.size()));
    return engine;
}

/// Height of the curve's peak on the peer's side.
float drawnY(const dsp::SpectralProcessor& peer) {
    dsp::DisplayScale scale;
    scale.retune(peer.sampleRate, peer.fftSize, peer.numBins);
    dsp::DisplayLevels levels = dsp::silentLevels();
    for (int frame = 0; frame < 30; ++frame) // comes to rest
        scale.follow({peer.magnitude.data(), std::size_t(peer.numBins)}, levels);
    return ui::levelY(ui::Side::Remote, *std::max_element(levels.begin(), levels.end()));
}

bool ducks(const dsp::SpectralProcessor& peer, double thresholdDb) {
    const auto own = hear(-10);
    own->processBlock({.peerMagnitude = peer.magnitude.data(),
                       .peerValid = true,
                       .reduction = {.thresholdDb = {thresholdDb, thresholdDb, thresholdDb},
                                     .ratio = {20, 20, 20}}});
    return own->binGain[kBin] < 1;
}

TEST(ThresholdGhost, DividesWhatIsDuckedFromWhatIsNot) {
    for (const float thresholdDb : {-12.0F, -30.0F, -54.0F}) {
        const float ghostY = ui::thresholdGhostY(ui::Side::Local, thresholdDb);
        for (const float aboveDb : {3.0F, 0.5F, -0.5F, -3.0F}) {
            const auto peer = hear(thresholdDb + aboveDb);
            EXPECT_EQ(ducks(*peer, thresholdDb), aboveDb > 0) << thresholdDb << ' ' << aboveDb;
            EXPECT_NEAR(ghostY - drawnY(*peer), 2.625F * aboveDb, 0.1F) << thresholdDb;
        }
    }
}

} // namespace
