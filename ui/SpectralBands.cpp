#include "ui/SpectralBands.h"

#include "ui/Canvas.h"

#include <algorithm>
#include <utility>

namespace ui {
namespace {

constexpr float kMinWidthHz = 10.0F;   ///< that splitting and moving an edge leave to a band
constexpr float kMinFilteredHz = 1.0F; ///< that a filter leaves to a band

float onAxis(float hz) { return inRange(hz, kLowestHz, kHighestHz); }

void orderByLowerEdge(shm::BandSet& list) {
    for (int i = 1; i < list.count; ++i)
        for (int j = i; j > 0 && list[j - 1].loHz > list[j].loHz; --j)
            std::swap(list[j - 1], list[j]);
}

} // namespace

void sortBands(shm::BandSet& list, const shm::Filters& filters) {
    if (list.count == 0)
        return;
    orderByLowerEdge(list);
    const auto [hpHz, lpHz] = Usable(filters);
    list[0].loHz = hpHz;
    for (int i = 0; i + 1 < list.count; ++i) {
        const float meanHz = 0.5F * (list[i].hiHz + list[i + 1].loHz);
        // Bands dragged over each other, or a filter past an edge, would turn a band around.
        list[i].hiHz = list[i + 1].loHz = inRange(meanHz, list[i].loHz, lpHz);
    }
    list.Last().hiHz = lpHz;
}

bool splitBand(shm::BandSet& list, float hz) {
    const auto holds = [&](int band) {
        return list.Has(band) && list[band].loHz + kMinWidthHz < hz &&
               hz < list[band].hiHz - kMinWidthHz;
    };
    if (list.count >= shm::kBandCount || !(holds(0) || holds(1)))
        return false;
    const int lower = holds(0) ? 0 : 1;
    for (int band = list.count; band > lower; --band)
        list[band] = list[band - 1];
    list[lower].hiHz = list[lower + 1].loHz = hz;
    ++list.count;
    return true;
}

bool mergeBands(shm::BandSet& list, int edge) {
    if (edge < 0 || edge + 1 >= list.count)
        return false;
    list[edge].hiHz = list[edge + 1].hiHz;
    for (int band = edge + 1; band + 1 < list.count; ++band)
        list[band] = list[band + 1];
    list.Last() = {}; // nothing is left where no band is
    --list.count;
    return true;
}

bool toggleBand(shm::BandSet& list, int band) {
    if (!list.Has(band))
        return false;
    list[band].enabled = !list[band].enabled;
    return true;
}

bool moveEdge(shm::BandSet& list, int edge, float hz) {
    if (edge < 0 || edge + 1 >= list.count)
        return false;
    const bool nextEdgeCounts = edge == 0 && list.count == shm::kBandCount;
    const float lowest = (edge == 0 ? list[0].loHz : list[0].hiHz) + kMinWidthHz;
    const float highest = nextEdgeCounts ? list[1].hiHz - kMinWidthHz : kHighestHz;
    // A neighbour dragged out of the way can leave no room between these limits, or none on the
    // axis.
    list[edge].hiHz = list[edge + 1].loHz = onAxis(inRange(hz, lowest, highest));
    return true;
}

bool moveBand(shm::BandSet& list, int band, float loAtPressHz, float hiAtPressHz, float hz) {
    if (!list.Has(band))
        return false;
    const float ratio = onAxis(hiAtPressHz) / onAxis(loAtPressHz);
    float lo = onAxis(hz);
    if (ratio * lo > kHighestHz)
        lo = kHighestHz / ratio;
    const float hi = onAxis(ratio * lo);
    list[band].loHz = lo;
    list[band].hiHz = hi;
    if (list.Has(band - 1))
        list[band - 1].hiHz = lo;
    if (list.Has(band + 1))
        list[band + 1].loHz = hi;
    return true;
}

void moveHighPass(shm::BandSet& list, const shm::Filters& filters) {
    if (list.count == 0)
        return;
    SpectralBand& first = list[0];
    first.loHz = Usable(filters).hpHz;
    first.hiHz = std::max(first.hiHz, first.loHz + kMinFilteredHz);
    sortBands(list, filters);
}

void moveLowPass(shm::BandSet& list, const shm::Filters& filters) {
    if (list.count == 0)
        return;
    SpectralBand& last = list.Last();
    last.hiHz = Usable(filters).lpHz;
    last.loHz = std::min(last.loHz, last.hiHz - kMinFilteredHz);
    sortBands(list, filters);
}

} // namespace ui
