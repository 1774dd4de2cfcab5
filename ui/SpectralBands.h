/// The editor's band lists and every edit of them; pure.
#pragma once

#include "shm/TDRecords.h"

#include <array>

namespace ui {

/// One band as the editor holds it. The defaults are a new or reset band.
struct SpectralBand {
    float lo = 20.0F;
    float hi = 20000.0F; ///< Hz
    bool enabled = true;
    float ratio = 4.0F;       ///< n:1, 1 to 20
    float threshold = -20.0F; ///< dB, -60 to 0
    bool operator==(const SpectralBand&) const = default;
};

/// The outer limits of a side's analysis, Hz; they are the outer edges of its bands.
struct FilterPair {
    float hpHz = 20.0F;    ///< 20 to 1000
    float lpHz = 20000.0F; ///< 1000 to 20000
    bool operator==(const FilterPair&) const = default;
};

/// The filters clamped to their ranges; what is no finite number counts as open.
[[nodiscard]] FilterPair usableFilters(FilterPair filters);

/// Up to three bands in ascending order; each ends where the next begins.
struct BandList {
    std::array<SpectralBand, shm::kBandCount> bands{};
    int count = 0;
    bool operator==(const BandList&) const = default;

    [[nodiscard]] SpectralBand& operator[](int index) { return bands[std::size_t(index)]; }
    [[nodiscard]] const SpectralBand& operator[](int index) const {
        return bands[std::size_t(index)];
    }
    [[nodiscard]] bool has(int index) const { return index >= 0 && index < count; }
    [[nodiscard]] SpectralBand& last() { return (*this)[count - 1]; }
};

/// Orders by lower edge (equal ones keep their order), joins neighbours at the mean of their edges
/// and puts the usable filters at both ends. An inner edge that would then lie below the edge
/// before it, or above the low-pass, moves there: edges ascend. An empty list stays empty.
void sortBands(BandList& list, FilterPair filters);

/// Splits the first or second band at a frequency more than 10 Hz inside it; both parts keep its
/// settings. False, and nothing changes, with three bands or elsewhere. Sorting is the caller's.
bool splitBand(BandList& list, float hz);
/// Joins band `edge` with the one above it, keeping the lower one's settings. False when there is
/// no such edge. Sorting is the caller's.
bool mergeBands(BandList& list, int edge);
bool toggleBand(BandList& list, int band);

/// Moves inner edge 0 (needs two bands) or 1 (needs three), at least 10 Hz from the edges beside
/// it. Deliberate: edge 1 is held below 20 kHz only, not below the third band's upper edge.
bool moveEdge(BandList& list, int edge, float hz);
/// Moves a whole band so that its lower edge is at hz, keeping the ratio of the edges that it had
/// at the press; neighbours stretch. At the top end the upper edge stays at 20 kHz.
bool moveBand(BandList& list, int band, float loAtPressHz, float hiAtPressHz, float hz);
/// The filter as outer edge: the first (or last) band gives way to it and keeps 1 Hz. Sorts.
void moveHighPass(BandList& list, FilterPair filters);
void moveLowPass(BandList& list, FilterPair filters);

/// The splits that the engine works with, Hz, for one, two or three bands; within the ranges of
/// the two parameters.
struct Crossovers {
    float lowHz = 20.0F;
    float highHz = 20000.0F;
};
[[nodiscard]] Crossovers crossoversOf(const BandList& list);

/// Band `index` of three as the engine and saved states keep them: beyond the count the last one.
[[nodiscard]] const SpectralBand& bandOrLast(const BandList& list, int index);

using BandRecords = std::array<TDBand, shm::kBandCount>;
[[nodiscard]] BandRecords toRecords(const BandList& list);
/// Takes at most three records. What another process has left there may be anything: values that
/// are not finite become the defaults of a new band, all others are put into their ranges.
[[nodiscard]] BandList fromRecords(const BandRecords& records, int count);

/// Lower and upper edge of each band of the list, Hz, 0 beyond the count: what a state saves.
[[nodiscard]] std::array<float, 6> edgesOf(const BandList& list);
/// The list that a saved state describes: from its edges where the first `count` bands all have
/// lo < hi, else from the crossovers. Settings are new ones.
[[nodiscard]] BandList bandsFromState(int count, const std::array<float, 6>& edgesHz,
                                      Crossovers crossovers);

} // namespace ui
