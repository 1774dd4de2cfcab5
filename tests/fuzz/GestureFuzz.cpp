/// Any gestures anywhere, on any bands: the editor's arithmetic without its window.
#include "plugin/Parameters.h"
#include "tests/fuzz/Fuzz.h"
#include "ui/ControlMap.h"
#include "ui/PanelTexts.h"
#include "ui/SpectralBands.h"
#include "ui/WindowSize.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace ui;
using fuzz::demand;
using shm::BandSet;

bool isWithin(float value, double low, double high) { // NaN is not
    return value >= static_cast<float>(low) && value <= static_cast<float>(high);
}

bool isWithinParam(float value, ParamIndex param) {
    const auto& spec = kParamTable[std::size_t(param)];
    return isWithin(value, spec.min, spec.max);
}

void checkBands(BandSet list, const shm::Filters& filters) {
    demand(list.count >= 0 && list.count <= 3, "up to three bands");
    for (int i = 0; i < list.count; ++i) {
        demand(isWithin(list[i].loHz, 20, 20000) && isWithin(list[i].hiHz, 20, 20000),
               "on the axis");
        demand(isWithinParam(list[i].threshDb, ThreshLow), "the threshold is in the panel");
        demand(isWithinParam(list[i].ratio, RatioLow), "the ratio is in the panel");
    }
    demand(list == list.Usable(), "the peer takes what is shown");
    sortBands(list, filters);
    float edge = Usable(filters).hpHz;
    for (int i = 0; i < list.count; ++i) {
        demand(list[i].loHz == edge && list[i].hiHz >= edge, "sorted bands ascend without a gap");
        edge = list[i].hiHz;
    }
    demand(list.count == 0 || edge == Usable(filters).lpHz, "they end at the low-pass");
}

float anyValue(fuzz::Bytes& bytes) {
    return bytes.flip() ? bytes.any<float>() : float(bytes.any<std::uint16_t>()) / 3.0F;
}

BandSet anyBands(fuzz::Bytes& bytes) {
    BandSet list;
    for (TDBand& band : list.bands)
        for (float* const field : {&band.loHz, &band.hiHz, &band.threshDb, &band.ratio})
            *field = anyValue(bytes);
    list.count = bytes.between(-2, 5);
    return list.Usable();
}

/// A drag or a notch of the wheel.
void turn(BandSet& list, const Hit& hit, fuzz::Bytes& bytes) {
    const ControlRange range = ctrlToParam(hit);
    const float value = bytes.flip()
                            ? draggedValue(range, anyValue(bytes), anyValue(bytes), bytes.flip())
                            : wheeledValue(range, anyValue(bytes), bytes.flip());
    demand(isWithin(value, range.min, range.max), "a control stays in its range");
    for (const auto format : {ValueFormat::Whole, ValueFormat::OneDecimal})
        demand(valueText(value, format).back() == '\0', "a value's text has an end");
    if (hit.part == Part::Threshold || hit.part == Part::Ratio) {
        demand(list.Has(hit.index), "a handle that is hit has a band");
        TDBand& band = list[hit.index];
        (hit.part == Part::Threshold ? band.threshDb : band.ratio) = value;
    }
}

/// What the pointer does at a point of a band area.
void gesture(BandSet& list, shm::Filters& filters, fuzz::Bytes& bytes) {
    const Point at{float(bytes.between(-10, 970)), float(bytes.between(-10, 610))};
    const HitScene scene{
        {filters, list}, {filters, list}, bytes.flip(), bytes.flip(), bytes.between(0, 15)};
    const Target target = hitTest(at, scene);
    const Hit hit = hitOf(target);
    demand(targetOf(hit) == target, "what is hit has a kind, a side and an index");
    const float hz = draggedHz(anyValue(bytes), anyValue(bytes));
    demand(isWithin(hz, 20, 20000), "a drag stays on the axis");
    if (hit.part == Part::Edge) {
        demand(list.Has(hit.index + 1), "an edge that is hit has two sides");
        bytes.flip() ? moveEdge(list, hit.index, hz) : mergeBands(list, hit.index);
    } else if (hit.part == Part::Body) {
        demand(list.Has(hit.index), "a band that is hit is there");
        const TDBand band = list[hit.index];
        bytes.flip() ? moveBand(list, hit.index, band.loHz, band.hiHz, hz)
                     : toggleBand(list, hit.index);
    } else if (hit.part == Part::Filter) {
        filters[hit.index] = hz;
        (hit.index == 0 ? moveHighPass : moveLowPass)(list, filters);
    } else if (hit.part == Part::None) {
        bytes.flip() ? splitBand(list, hz) : mergeBands(list, bytes.between(-2, 4));
    }
    turn(list, hit, bytes);
}

void dragCorner(fuzz::Bytes& bytes) {
    CornerDrag corner;
    corner.press(bytes.any<std::int16_t>(), {bytes.between(1, 5000), bytes.between(1, 5000)});
    for (int moves = bytes.between(0, 3); moves > 0; --moves) {
        const SizePx size = corner.move(bytes.any<std::int16_t>()).size;
        demand(isWithin(float(size.width), editor::kMinSize.width, editor::kMaxCornerSize.width) &&
                   isWithin(float(size.height), editor::kMinSize.height,
                            editor::kMaxCornerSize.height),
               "the corner stays in bounds");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes(data, size);
    BandSet list = anyBands(bytes);
    shm::Filters filters;
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
