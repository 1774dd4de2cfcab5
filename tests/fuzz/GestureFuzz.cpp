/// Any gestures anywhere, on any bands: the editor's arithmetic without its window.
#include "plugin/Parameters.h"
#include "tests/fuzz/Bytes.h"
#include "tests/fuzz/Demand.h"
#include "ui/ControlMap.h"
#include "ui/PanelTexts.h"
#include "ui/WindowSize.h"

#include <algorithm>
#include <cmath>

namespace {

using fuzz::demand;
using ui::BandList;
using ui::Target;

bool isWithin(float value, double low, double high) { // NaN is not
    return value >= static_cast<float>(low) && value <= static_cast<float>(high);
}

bool isWithinParam(float value, ParamIndex param) {
    const auto& spec = kParamTable[std::size_t(param)];
    return isWithin(value, spec.min, spec.max);
}

void checkBands(BandList list, ui::FilterPair filters) {
    demand(list.count >= 0 && list.count <= 3, "up to three bands");
    for (int i = 0; i < list.count; ++i) {
        demand(isWithin(list[i].lo, 20, 20000) && isWithin(list[i].hi, 20, 20000), "on the axis");
        demand(isWithinParam(list[i].threshold, ThreshLow), "the threshold is in the panel");
        demand(isWithinParam(list[i].ratio, RatioLow), "the ratio is in the panel");
    }
    const ui::Crossovers splits = crossoversOf(list);
    demand(list.count < 2 || isWithinParam(splits.lowHz, FreqLow), "the low split is one");
    demand(list.count < 3 || isWithinParam(splits.highHz, FreqHigh), "the high split is one");
    const BandList sent = ui::fromRecords(toRecords(list), list.count);
    demand(std::equal(list.bands.begin(), list.bands.begin() + list.count, sent.bands.begin()),
           "the peer gets what is shown");
    sortBands(list, filters);
    float edge = usableFilters(filters).hpHz;
    for (int i = 0; i < list.count; ++i) {
        demand(list[i].lo == edge && list[i].hi >= edge, "sorted bands ascend without a gap");
        edge = list[i].hi;
    }
    demand(list.count == 0 || edge == usableFilters(filters).lpHz, "they end at the low-pass");
}

float anyValue(fuzz::Bytes& bytes) {
    return bytes.flip() ? bytes.any<float>() : float(bytes.any<std::uint16_t>()) / 3.0F;
}

BandList anyBands(fuzz::Bytes& bytes) {
    ui::BandRecords records;
    for (TDBand& band : records)
        for (float* const field : {&band.loHz, &band.hiHz, &band.threshDb, &band.ratio})
            *field = anyValue(bytes);
    return ui::fromRecords(records, bytes.between(-2, 5));
}

/// A drag or a notch of the wheel.
void turn(BandList& list, Target target, fuzz::Bytes& bytes) {
    const ui::ControlRange range = ui::ctrlToParam(target);
    const float value =
        bytes.flip() ? ui::draggedValue(range, anyValue(bytes), anyValue(bytes), bytes.flip())
                     : ui::wheeledValue(range, anyValue(bytes), bytes.flip());
    demand(isWithin(value, range.min, range.max), "a control stays in its range");
    for (const auto format : {ui::ValueFormat::Whole, ui::ValueFormat::OneDecimal})
        demand(ui::valueText(value, format).back() == '\0', "a value's text has an end");
    if (const int band = indexIn(Target::LocalThreshold, target); list.has(band))
        list[band].threshold = value;
    if (const int band = indexIn(Target::LocalRatio, target); list.has(band))
        list[band].ratio = value;
}

/// What the pointer does at a point of a band area.
void gesture(BandList& list, ui::FilterPair& filters, fuzz::Bytes& bytes) {
    const ui::Point at{float(bytes.between(-10, 970)), float(bytes.between(-10, 610))};
    const ui::HitScene scene{
        filters, list, filters, list, bytes.flip(), bytes.flip(), bytes.between(0, 15)};
    const Target target = hitTest(at, scene);
    const int edge = indexIn(Target::LocalEdge, target), band = indexIn(Target::LocalBand, target);
    demand(edge < 0 || list.has(edge + 1), "an edge that is hit has two sides");
    demand(band < 0 || list.has(band), "a band that is hit is there");
    const float hz = ui::draggedHz(anyValue(bytes), anyValue(bytes));
    demand(isWithin(hz, 20, 20000), "a drag stays on the axis");
    if (edge >= 0)
        bytes.flip() ? moveEdge(list, edge, hz) : mergeBands(list, edge);
    else if (band >= 0)
        bytes.flip() ? moveBand(list, band, list[band].lo, list[band].hi, hz)
                     : toggleBand(list, band);
    else if (target == Target::LocalHighPass)
        moveHighPass(list, filters = {hz, filters.lpHz});
    else if (target == Target::LocalLowPass)
        moveLowPass(list, filters = {filters.hpHz, hz});
    else if (target == Target::None)
        bytes.flip() ? splitBand(list, hz) : mergeBands(list, bytes.between(-2, 4));
    turn(list, target, bytes);
}

void dragCorner(fuzz::Bytes& bytes) {
    ui::CornerDrag corner;
    corner.press(bytes.any<std::int16_t>(), {bytes.between(1, 5000), bytes.between(1, 5000)});
    for (int moves = bytes.between(0, 3); moves > 0; --moves) {
        const ui::SizePx size = corner.move(bytes.any<std::int16_t>()).size;
        demand(isWithin(float(size.width), editor::kMinSize.width, editor::kMaxCornerSize.width) &&
                   isWithin(float(size.height), editor::kMinSize.height,
                            editor::kMaxCornerSize.height),
               "the corner stays in bounds");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes(data, size);
    BandList list = anyBands(bytes);
    ui::FilterPair filters;
    for (int steps = 0; !bytes.empty() && steps < 64; ++steps) {
        switch (bytes.below(6)) {
        case 0:
            list = anyBands(bytes);
            break;
        case 1:
            filters = {anyValue(bytes), anyValue(bytes)};
            sortBands(list, filters);
            break;
        case 2:
            dragCorner(bytes);
            break;
        default:
            gesture(list, filters, bytes);
        }
        checkBands(list, filters);
    }
    return 0;
}
