/// The audio thread: who calls the mixer, and where the sound goes.
#pragma once

#include "tools/editor/Mixer.h"

#include <memory>
#include <string>

namespace editor {

/// Plays from its making until it is destroyed, which waits for the block in progress. [main]
class SoundOut {
public:
    SoundOut() = default;
    virtual ~SoundOut() = default;
    SoundOut(const SoundOut&) = delete;
    SoundOut& operator=(const SoundOut&) = delete;

    /// For people: the device, or that there is none.
    [[nodiscard]] virtual std::string name() const = 0;
};

/// The machine's default output at the mixer's rate; null where there is none, where it does not
/// take that rate, or where this program was built without RtAudio.
[[nodiscard]] std::unique_ptr<SoundOut> openDefaultDevice(Mixer& mixer);

/// No device: a thread of our own that keeps to real time.
[[nodiscard]] std::unique_ptr<SoundOut> playSilently(Mixer& mixer);

} // namespace editor
