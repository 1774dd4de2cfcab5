/// Which thread counts as an audio thread.
#pragma once

namespace host {

/// While one lives, the thread that made it answers "audio" (and no longer "main") to the
/// plug-in's thread check, also when it is the main thread: one thread can play both parts.
/// Scopes nest. The calls of Instance that belong on the audio thread open one themselves. [any]
class AudioThreadScope {
public:
    AudioThreadScope();
    ~AudioThreadScope();
    AudioThreadScope(const AudioThreadScope&) = delete;
    AudioThreadScope& operator=(const AudioThreadScope&) = delete;

    /// Whether the calling thread is inside a scope.
    [[nodiscard]] static bool isInside();
};

} // namespace host
