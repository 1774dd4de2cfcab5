/// What an instance last set on its peer, kept so that a reopened project can set it again.
#pragma once

#include "shm/TDRecords.h"

#include <array>

/// The peer's settings as this side last edited them. The defaults are the cleared record.
struct ShadowPeer {
    int bandCount = 0;                  ///< 0: nothing is remembered; else 1 to 3
    std::array<float, 6> bandEdgesHz{}; ///< low and high edge of band 1, 2, 3
    std::array<float, shm::kBandCount> thresholdDb{};
    std::array<float, shm::kBandCount> ratio = {4.0F, 4.0F, 4.0F};
    std::array<bool, shm::kBandCount> enabled = {true, true, true};
    float hpHz = shm::kDefaultHpHz;
    float lpHz = shm::kDefaultLpHz;
    float attackMs = shm::kDefaultAttackMs;
    float releaseMs = shm::kDefaultReleaseMs;
    float makeupDb = shm::kDefaultMakeupDb;
    bool applied = false; ///< written to the peer since it was recorded
    unsigned edition = 0; ///< differs after every change; not saved

    /// The first 1 to 3 of the bands; those beyond the count keep their settings without edges.
    void TakeBands(const std::array<TDBand, shm::kBandCount>& bands, int count) {
        bandCount = count;
        bandEdgesHz.fill(0.0F);
        for (std::size_t band = 0; band < std::size_t(count); ++band) {
            bandEdgesHz[2 * band] = bands[band].loHz;
            bandEdgesHz[2 * band + 1] = bands[band].hiHz;
            thresholdDb[band] = bands[band].threshDb;
            ratio[band] = bands[band].ratio;
            enabled[band] = bands[band].enabled;
        }
    }

    /// The record has changed and is to be applied again.
    void Touch() {
        applied = false;
        ++edition;
    }
};
