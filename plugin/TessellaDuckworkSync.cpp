#include "plugin/TessellaDuckwork.h"

#include <boost/interprocess/exceptions.hpp>

#include <cmath>

void TessellaDuckwork::OnParamChange(int index) {
    if (index < 0 || index >= kNumParams)
        return;
    mirror[std::size_t(index)] = GetParam(index).Value();
    if (index == Attack || index == Release)
        UpdateEnvelope();
    // Bands and filters are published by the editor and by a state load, not from here.
    if (index == Attack || index == Release || index == Makeup)
        PublishControls();
}

void TessellaDuckwork::UpdateEnvelope() { processor.setTimes(Mirror(Attack), Mirror(Release)); }

/// Writes the controls into the own slot. When the registry is busy, or on the audio thread is not
/// to be had at once, the write is left to a later block: until then the registry's old values
/// must not come back over the new ones.
void TessellaDuckwork::PublishControls() {
    if (!shm.Opened())
        return;
    controlsUnpublished = true;
    if (OnAudioThread()) {
        TryPublishControls();
        return;
    }
    const auto seq =
        shm.WriteControls(static_cast<float>(Mirror(Attack)), static_cast<float>(Mirror(Release)),
                          static_cast<float>(Mirror(Makeup)));
    if (seq == 0)
        return;
    lastControlsSeq = seenControlsSeq = seq;
    controlsUnpublished = false;
}

/// One try; true when nothing is left to publish.
bool TessellaDuckwork::TryPublishControls() noexcept try {
    if (!controlsUnpublished)
        return true;
    const auto seq = shm.TryWriteControls(static_cast<float>(Mirror(Attack)),
                                          static_cast<float>(Mirror(Release)),
                                          static_cast<float>(Mirror(Makeup)));
    if (!seq)
        return false;
    lastControlsSeq = seenControlsSeq = *seq;
    controlsUnpublished = false;
    return true;
} catch (const boost::interprocess::interprocess_exception&) {
    return false;
}
