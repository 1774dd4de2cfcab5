/// Every edit of a list of bands; pure.
#pragma once

#include "shm/TDRecords.h"

namespace ui {

/// One band as the editor holds it. The defaults are a new or reset band.
using SpectralBand = TDBand;

/// Orders by lower edge (equal ones keep their order), joins neighbours at the mean of their edges
/// and puts the usable filters at both ends. An inner edge that would then lie below the edge
/// before it, or above the low-pass, moves there: edges ascend. An empty list stays empty.
void sortBands(shm::BandSet& list, const shm::Filters& filters);

/// Splits the first or second band at a frequency more than 10 Hz inside it; both parts keep its
/// settings. False, and nothing changes, with three bands or elsewhere. Sorting is the caller's.
bool splitBand(shm::BandSet& list, float hz);
/// Joins band `edge` with the one above it, keeping the lower one's settings. False when there is
/// no such edge. Sorting is the caller's.
bool mergeBands(shm::BandSet& list, int edge);
bool toggleBand(shm::BandSet& list, int band);

/// Moves inner edge 0 (needs two bands) or 1 (needs three), at least 10 Hz from the edges beside
/// it. Deliberate: edge 1 is held below 20 kHz only, not below the third band's upper edge.
bool moveEdge(shm::BandSet& list, int edge, float hz);
/// Moves a whole band so that its lower edge is at hz, keeping the ratio of the edges that it had
/// at the press; neighbours stretch. At the top end the upper edge stays at 20 kHz.
bool moveBand(shm::BandSet& list, int band, float loAtPressHz, float hiAtPressHz, float hz);
/// The filter as outer edge: the first (or last) band gives way to it and keeps 1 Hz. Sorts.
void moveHighPass(shm::BandSet& list, const shm::Filters& filters);
void moveLowPass(shm::BandSet& list, const shm::Filters& filters);

} // namespace ui
