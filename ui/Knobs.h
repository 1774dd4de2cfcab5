/// The six knobs.
#pragma once

#include "ui/HitTest.h"
#include "ui/PanelTexts.h"

#include <array>

namespace ui {

/// A knob of this instance or, with the same range (ctrlToParam), of the peer.
struct KnobDef {
    Point centre;
    float radius;
    Target target;
    const char* label;
    ValueFormat format;

    [[nodiscard]] constexpr Side side() const {
        return indexIn(Target::LocalAttack, target) >= 0 ? Side::Local : Side::Remote;
    }
};

// clang-format off
inline constexpr std::array<KnobDef, 6> kKnobs = {{
    {kKnobCentres[0], kKnobRadius, Target::LocalAttack,  "Attack",  ValueFormat::OneDecimal},
    {kKnobCentres[1], kKnobRadius, Target::LocalRelease, "Release", ValueFormat::Whole},
    {kKnobCentres[2], kKnobRadius, Target::LocalMakeup,  "Makeup",  ValueFormat::OneDecimal},
    {kKnobCentres[3], kKnobRadius, Target::PeerAttack,   "Attack",  ValueFormat::OneDecimal},
    {kKnobCentres[4], kKnobRadius, Target::PeerRelease,  "Release", ValueFormat::Whole},
    {kKnobCentres[5], kKnobRadius, Target::PeerMakeup,   "Makeup",  ValueFormat::OneDecimal},
}};
// clang-format on

} // namespace ui
