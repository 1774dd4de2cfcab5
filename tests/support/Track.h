/// The plug-in on a track: what the tests of the built file have in common.
#pragma once

#include "host/AudioBuffers.h"
#include "host/AudioThreadScope.h"
#include "host/Extensions.h"
#include "host/Gui.h"
#include "host/Instance.h"
#include "host/Params.h"
#include "plugin/Parameters.h"
#include "shm/RegistryMonitor.h"
#include "tests/support/Signals.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace support {

using host::Callback, host::GuiSize, host::SampleFormat;

/// The plug-in file, loaded as long as anybody holds it.
std::shared_ptr<const host::Library> plugin();

/// The live slots of the registry, also when there is none.
std::vector<shm::SlotSnapshot> activeSlots();
/// The live slot of that id, or nothing.
std::optional<shm::SlotSnapshot> activeSlot(std::uint64_t id);

struct Setting {
    clap_id id;   ///< ParamIndex
    double value; ///< in the parameter's unit
};

/// One instance with its host, its buffers and its event lists. One thread at a time.
class Track {
public:
    struct Buffers {
        std::uint32_t maxFrames = 4096;
        host::SampleFormat format = host::SampleFormat::Float64;
        bool inPlace = false;
    };

    /// Created and initialised in a host that lacks what `prepare` withholds; throws
    /// host::HostError when either is refused.
    explicit Track(const std::function<void(host::HostCallbacks&)>& prepare = {});

    /// Through a flush. Before start() nothing glides afterwards.
    void set(const std::vector<Setting>& settings);
    /// Activates, anew when active, and starts processing.
    void start(double rate, Buffers buffers);
    void start(double rate) { start(rate, Buffers{}); }
    /// Plays in[at, at + frames) and appends what comes out. The events are handed in and cleared;
    /// `sent` holds this block's output events. Throws host::HostError when samples of the host's
    /// are overwritten.
    void block(const Stereo& in, std::size_t at, std::size_t frames, Stereo& out);
    /// Plays all of `in` in blocks of that size.
    Stereo play(const Stereo& in, std::size_t frames);

    /// A plain value as the host gives it in events.
    [[nodiscard]] double toHost(clap_id id, double plain) const;
    [[nodiscard]] double hostValue(clap_id id) const { return params.value(id).value(); }
    /// The own slot; throws host::HostError without one, as when there is none left.
    [[nodiscard]] shm::SlotSnapshot slot() const;
    /// The instance id in the registry; 0 without a slot.
    [[nodiscard]] std::uint64_t id() const { return slotId; }

private:
    std::shared_ptr<const host::Library> library = plugin();
    host::HostCallbacks callbacks;
    std::vector<shm::SlotSnapshot> slotsBefore = activeSlots();

public:
    host::Instance instance;
    host::Params params;
    host::EventList events{64}, sent{64};

private:
    [[nodiscard]] bool isOurs(std::uint64_t id) const;

    std::optional<host::AudioBuffers> audio;
    bool inPlace = false;
    std::uint64_t slotId = 0;
};

} // namespace support
