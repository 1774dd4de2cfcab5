/// What an instance may ask of its host, whatever the plug-in interface is.
#pragma once

#include "adapter/IPlugPluginBase.h"

#include <cstdint>

namespace iplug {

/// The instance's and the editor's way to the host.
class IPlugAPIBase : public IPluginBase {
public:
    using IPluginBase::IPluginBase;

    // A user's gesture on a control, told to the host by the editor, in this order. The value is
    // normalised. When too much is queued, only the last value of a parameter is told. [ui]
    virtual void BeginInformHostOfParamChange(int index) = 0;
    virtual void InformHostOfParamChange(int index, double normalizedValue) = 0;
    virtual void EndInformHostOfParamChange(int index) = 0;

    /// Something other than the host has changed these parameters, a bit each, the lowest for
    /// index 0: the host hears of their present values with the output events of the next block or
    /// flush. [any, also audio]
    virtual void InformHostOfValues(std::uint32_t mask) noexcept = 0;
    /// Asks a host that is not processing for a flush where it has not heard of all yet. [any but
    /// audio]
    virtual void FlushParamsIfNeeded() = 0;
    /// What a save would write has changed other than by parameter values that the host knows: it
    /// should offer to save the project. [any but audio]
    virtual void MarkDirty() = 0;

    /// Housekeeping on the host's main-thread callback. [main]
    virtual void OnIdle() {}

protected:
    /// True on the thread that is inside the host's process call, or inside a flush while active:
    /// nothing on it may wait. [any]
    [[nodiscard]] virtual bool OnAudioThread() const noexcept = 0;
};

} // namespace iplug
