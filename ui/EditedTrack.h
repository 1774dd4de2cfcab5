/// One side as the editor edits it: this instance or its peer, by the same code.
#pragma once

#include "plugin/EditorAccess.h"
#include "ui/HitTest.h"

namespace ui {

/// A parameter's value, plain, in its unit. [any]
[[nodiscard]] inline float paramValue(const EditorAccess& instance, int param) {
    return static_cast<float>(instance.ParamValue(param));
}

/// Sets a parameter as the editor does: the value is put into the parameter's range, the instance
/// takes it, the host is told. Nothing happens without an instance or with a wrong index. Each step
/// of a drag is one change, without begin or end of a gesture. [ui]
void applyParam(EditorAccess* instance, int index, float value);

/// A part as it was when a drag of it began.
struct Held {
    Hit hit;
    float value = 0.0F; ///< Hz, dB, ratio or the control's own unit; of a body its lower edge
    float hiHz = 0.0F;  ///< of a body its upper edge
};

/// Every edit changes what is shown and tells the instance, which passes it on. Edits of what is
/// not there do nothing. [ui]
class EditedTrack {
public:
    /// Both must outlive it. `settings`: what is shown of the side; without bands it is not there.
    EditedTrack(Side whose, EditorAccess& access, shm::Settings& settings)
        : side(whose), instance(access), shown(settings) {}

    [[nodiscard]] shm::Filters filters() const;
    [[nodiscard]] Held hold(const Hit& hit) const;

    void split(float hz);
    bool merge(int edge);  ///< false when there is no such edge
    bool toggle(int band); ///< false when there is no such band
    /// Drags an edge, a filter or a whole band to a frequency.
    void move(const Held& held, float hz);
    /// Sets what is dragged up and down: a knob, a threshold, a ratio.
    void set(const Hit& hit, float value);
    void toggleBypass();
    void toggleDuck();

private:
    [[nodiscard]] float valueOf(const Hit& hit) const;
    void moveFilter(int index, float hz);
    void setKnob(const Hit& hit, float value);

    void sortAndPush();
    void sortRemoteBands();
    void pushBands(shm::SettingsEdit edit = {});
    void syncBandsToDSP(const shm::SettingsEdit& edit);
    void pushRemoteBandsToSHM(const shm::SettingsEdit& edit);

    const Side side;
    EditorAccess& instance;
    shm::Settings& shown;
};

} // namespace ui
