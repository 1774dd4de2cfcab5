#include "ui/SpectralBands.h"

#include "plugin/Parameters.h"
#include "ui/Canvas.h"
#include "ui/InRange.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ui {
namespace {

constexpr float kLeastWidthHz = 10.0F;   ///< that splitting and moving an edge leave to a band
constexpr float kLeastFilteredHz = 1.0F; ///< that a filter leaves to a band

float onAxis(float hz) { return inRange(hz, kLowestHz, kHighestHz); }

/// The value inside a parameter's range.
float inParamRange(ParamIndex param, float value) {
    const iplug::ParamSpec& spec = kParamTable[static_cast<std::size_t>(param)];
    return inRange(value, static_cast<float>(spec.min), static_cast<float>(spec.max));
}

float numberOr(float value, float otherwise) { return std::isfinite(value) ? value : otherwise; }

void orderByLowerEdge(BandList& list) {
    for (int i = 1; i < list.count; ++i)
        for (int j = i; j > 0 && list[j - 1].lo > list[j].lo; --j)
            std::swap(list[j - 1], list[j]);
}

} // namespace

FilterPair usableFilters(FilterPair filters) {
    const FilterPair open;
    return {inParamRange(HP, numberOr(filters.hpHz, open.hpHz)),
            inParamRange(LP, numberOr(filters.lpHz, open.lpHz))};
}

void sortBands(BandList& list, FilterPair filters) {
    if (list.count == 0)
        return;
    orderByLowerEdge(list);
    const auto [hpHz, lpHz] = usableFilters(filters);
    list[0].lo = hpHz;
    for (int i = 0; i + 1 < list.count; ++i) {
        const float meanHz = 0.5F * (list[i].hi + list[i + 1].lo);
        // Bands dragged over each other, or a filter past an edge, would turn a band around.
        list[i].hi = list[i + 1].lo = inRange(meanHz, list[i].lo, lpHz);
    }
    list.last().hi = lpHz;
}

bool splitBand(BandList& list, float hz) {
    const auto holds = [&](int band) {
        return list.has(band) && list[band].lo + kLeastWidthHz < hz &&
               hz < list[band].hi - kLeastWidthHz;
    };
    if (list.count >= shm::kBandCount || !(holds(0) || holds(1)))
        return false;
    const int lower = holds(0) ? 0 : 1;
    for (int band = list.count; band > lower; --band)
        list[band] = list[band - 1];
    list[lower].hi = list[lower + 1].lo = hz;
    ++list.count;
    return true;
}

bool mergeBands(BandList& list, int edge) {
    if (edge < 0 || edge + 1 >= list.count)
        return false;
    list[edge].hi = list[edge + 1].hi;
    for (int band = edge + 1; band + 1 < list.count; ++band)
        list[band] = list[band + 1];
    --list.count;
    return true;
}

bool toggleBand(BandList& list, int band) {
    if (!list.has(band))
        return false;
    list[band].enabled = !list[band].enabled;
    return true;
}

bool moveEdge(BandList& list, int edge, float hz) {
    if (edge < 0 || edge + 1 >= list.count)
        return false;
    const bool nextEdgeCounts = edge == 0 && list.count == shm::kBandCount;
    const float lowest = (edge == 0 ? list[0].lo : list[0].hi) + kLeastWidthHz;
    const float highest = nextEdgeCounts ? list[1].hi - kLeastWidthHz : kHighestHz;
    // A neighbour dragged out of the way can leave no room between these limits, or none on the
    // axis.
    list[edge].hi = list[edge + 1].lo = onAxis(inRange(hz, lowest, highest));
    return true;
}

bool moveBand(BandList& list, int band, float loAtPressHz, float hiAtPressHz, float hz) {
    if (!list.has(band))
        return false;
    const float ratio = onAxis(hiAtPressHz) / onAxis(loAtPressHz);
    float lo = onAxis(hz);
    if (ratio * lo > kHighestHz)
        lo = kHighestHz / ratio;
    const float hi = onAxis(ratio * lo);
    list[band].lo = lo;
    list[band].hi = hi;
    if (list.has(band - 1))
        list[band - 1].hi = lo;
    if (list.has(band + 1))
        list[band + 1].lo = hi;
    return true;
}

void moveHighPass(BandList& list, FilterPair filters) {
    if (list.count == 0)
        return;
    SpectralBand& first = list[0];
    first.lo = usableFilters(filters).hpHz;
    first.hi = std::max(first.hi, first.lo + kLeastFilteredHz);
    sortBands(list, filters);
}

void moveLowPass(BandList& list, FilterPair filters) {
    if (list.count == 0)
        return;
    SpectralBand& last = list.last();
    last.hi = usableFilters(filters).lpHz;
    last.lo = std::min(last.lo, last.hi - kLeastFilteredHz);
    sortBands(list, filters);
}

Crossovers crossoversOf(const BandList& list) {
    Crossovers splits;
    if (list.count >= 2)
        splits.lowHz = inParamRange(FreqLow, list[0].hi);
    if (list.count >= 3)
        splits.highHz = inParamRange(FreqHigh, list[1].hi);
    return splits;
}

const SpectralBand& bandOrLast(const BandList& list, int index) {
    return list[std::max(0, std::min(index, list.count - 1))];
}

BandRecords toRecords(const BandList& list) {
    BandRecords records;
    for (int i = 0; i < list.count; ++i)
        records[std::size_t(i)] = {.loHz = list[i].lo,
                                   .hiHz = list[i].hi,
                                   .threshDb = list[i].threshold,
                                   .ratio = list[i].ratio,
                                   .enabled = list[i].enabled};
    return records;
}

BandList fromRecords(const BandRecords& records, int count) {
    BandList list;
    list.count = std::clamp(count, 0, shm::kBandCount);
    for (int i = 0; i < list.count; ++i) {
        const TDBand& record = records[std::size_t(i)];
        SpectralBand& band = list[i]; // a new one
        band.lo = onAxis(numberOr(record.loHz, band.lo));
        band.hi = onAxis(numberOr(record.hiHz, band.hi));
        band.threshold = inParamRange(ThreshLow, numberOr(record.threshDb, band.threshold));
        band.ratio = inParamRange(RatioLow, numberOr(record.ratio, band.ratio));
        band.enabled = record.enabled;
    }
    return list;
}

std::array<float, 6> edgesOf(const BandList& list) {
    std::array<float, 6> edgesHz{};
    for (int i = 0; i < list.count; ++i) {
        edgesHz[2 * std::size_t(i)] = list[i].lo;
        edgesHz[2 * std::size_t(i) + 1] = list[i].hi;
    }
    return edgesHz;
}

BandList bandsFromState(int count, const std::array<float, 6>& edgesHz, Crossovers crossovers) {
    BandList list;
    list.count = std::clamp(count, 1, shm::kBandCount);
    const std::array<float, 4> splits = {kLowestHz, list.count == 1 ? kHighestHz : crossovers.lowHz,
                                         list.count == 2 ? kHighestHz : crossovers.highHz,
                                         kHighestHz};
    bool usable = true;
    for (std::size_t i = 0; i < std::size_t(list.count); ++i) {
        const float lo = edgesHz[2 * i];
        const float hi = edgesHz[2 * i + 1];
        usable = usable && lo > 0.0F && lo < hi && std::isfinite(hi); // false for NaN too
    }
    for (int i = 0; i < list.count; ++i) {
        const auto at = std::size_t(i);
        list[i].lo = onAxis(usable ? edgesHz[2 * at] : splits[at]);
        list[i].hi = onAxis(usable ? edgesHz[2 * at + 1] : splits[at + 1]);
    }
    return list;
}

} // namespace ui
