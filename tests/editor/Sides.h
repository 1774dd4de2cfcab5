/// The settings of a track: as they should be, and as everybody shows them.
#pragma once

#include "host/Extensions.h"
#include "plugin/StateChunk.h"
#include "tests/host/Track.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>

namespace support {

/// Bands, filters, controls and the two flags; the rest does not matter here.
using Settings = shm::SlotSnapshot;

/// The state that the host would save now.
inline state::Reading savedBy(const Track& track) {
    iplug::IByteChunk chunk;
    const auto bytes = host::saveState(track.instance).value();
    chunk.PutBytes(bytes.data(), bytes.size());
    return state::read(chunk, 0);
}

/// What a state says of the track itself and of its peer.
inline Settings ownIn(const state::Reading& saved) {
    const auto param = [&](int index) {
        return static_cast<float>(saved.params[std::size_t(index)]);
    };
    Settings s;
    s.bandCount = saved.head.activeBandCount;
    for (int i = 0; i < 3; ++i)
        s.bands[i] = {saved.head.bandFreqs[2 * std::size_t(i)],
                      saved.head.bandFreqs[2 * std::size_t(i) + 1], param(ThreshLow + i),
                      param(RatioLow + i), saved.head.bandEnabled[std::size_t(i)] != 0};
    s.hpHz = param(HP), s.lpHz = param(LP);
    s.attackMs = param(Attack), s.releaseMs = param(Release), s.makeupDb = param(Makeup);
    s.duckSelf = saved.duckSelf.value();
    return s;
}
inline Settings peerIn(const state::Head& head) {
    Settings s;
    s.bandCount = head.shadowBandCount;
    for (std::size_t i = 0; i < 3; ++i)
        s.bands[i] = {head.shadowEdges[2 * i], head.shadowEdges[2 * i + 1],
                      head.shadowThresholds[i], head.shadowRatios[i], head.shadowEnabled[i] != 0};
    s.hpHz = head.shadowHp, s.lpHz = head.shadowLp;
    s.attackMs = head.shadowAttack, s.releaseMs = head.shadowRelease,
    s.makeupDb = head.shadowMakeup;
    return s;
}

/// Bands, filters and controls.
inline void expectSame(const Settings& is, const Settings& should, const std::string& whose) {
    const auto compare = [&](const char* what, float a, float b) {
        EXPECT_NEAR(a, b, 1e-5F * std::max(1.0F, std::fabs(b))) << whose << ' ' << what;
    };
    EXPECT_EQ(is.bandCount, should.bandCount) << whose;
    for (int i = 0; i < should.bandCount; ++i) {
        compare("lower edge", is.bands[i].loHz, should.bands[i].loHz);
        compare("upper edge", is.bands[i].hiHz, should.bands[i].hiHz);
        compare("threshold", is.bands[i].threshDb, should.bands[i].threshDb);
        compare("ratio", is.bands[i].ratio, should.bands[i].ratio);
        EXPECT_EQ(is.bands[i].enabled, should.bands[i].enabled) << whose << " band " << i;
    }
    compare("high-pass", is.hpHz, should.hpHz);
    compare("low-pass", is.lpHz, should.lpHz);
    compare("attack", is.attackMs, should.attackMs);
    compare("release", is.releaseMs, should.releaseMs);
    compare("makeup", is.makeupDb, should.makeupDb);
}

/// The registry slot, the parameters and the saved state all follow from the settings.
inline void expectShown(const Track& track, const Settings& s, const std::string& whose) {
    const state::Reading saved = savedBy(track); // first: it takes in what others have edited
    const Settings own = ownIn(saved);
    const Settings slot = track.slot().value();
    expectSame(own, s, whose + " saved");
    expectSame(slot, s, whose + " published");
    EXPECT_TRUE(own.duckSelf == s.duckSelf && slot.duckSelf == s.duckSelf) << whose;
    EXPECT_EQ(slot.bypass, s.bypass) << whose;
    const float splits[] = {s.bandCount < 2 ? 20 : std::clamp(s.bands[0].hiHz, 20.0F, 2000.0F),
                            s.bandCount < 3 ? 20000 : std::max(s.bands[1].hiHz, 500.0F)};
    for (const int i : {0, 1})
        EXPECT_NEAR(saved.params[std::size_t(i)], splits[i], 1e-5F * splits[i])
            << whose << " split";
    for (int i = s.bandCount; i < 3; ++i) // the last band stands for the missing ones
        EXPECT_TRUE(own.bands[i].threshDb == own.bands[s.bandCount - 1].threshDb &&
                    own.bands[i].ratio == own.bands[s.bandCount - 1].ratio)
            << whose << ' ' << i;
    for (clap_id id = 0; id < kNumParams; ++id) // and the host sees what is saved
        EXPECT_NEAR(track.hostValue(id), track.toHost(id, saved.params[id]), 1e-6) << whose << id;
}

/// Writes settings into the track's slot, as a peer's editor would.
inline void write(const Track& track, const Settings& s) {
    shm::RegistryMonitor to;
    EXPECT_TRUE(to.Attach() && to.SetBypassOf(track.id(), s.bypass) &&
                to.SetDuckSelfOf(track.id(), s.duckSelf) &&
                to.WriteHpLpOf(track.id(), s.hpHz, s.lpHz) != 0 &&
                to.WriteControlsOf(track.id(), s.attackMs, s.releaseMs, s.makeupDb) != 0 &&
                to.WriteBandsOf(track.id(), s.bands, s.bandCount) != 0);
}

} // namespace support
