/// The editor's size: how it follows the host's window, and the resize corner; pure.
#pragma once

#include "adapter/EditorSize.h"

#include <optional>

namespace ui {

using editor::SizePx;

/// Follows the size that the host gives the parent window: waits until it has been the same for
/// half a second, then asks for a size with the editor's aspect, or, the first time, for the
/// remembered one. What the host then does is its answer: a second one that is not what was asked
/// for is accepted, or two that never agree would go on for ever.
class HostSizeFollower {
public:
    struct Request {
        SizePx reported; ///< what the host has
        SizePx wanted;   ///< what it is to be asked for
        bool remember;   ///< whether the wanted size is the new remembered one
    };

    /// Once a frame, with the parent's size. `remembered` is the size to return to after opening;
    /// none when a dimension is below 1.
    [[nodiscard]] std::optional<Request> externalSizeTick(SizePx parent, SizePx remembered);
    /// The host is asked for this size by somebody else.
    void noteRequest(SizePx wanted);

private:
    enum class Phase { Opening, Restoring, Following };

    /// True on one call: the one on which the size has been the same for half a second.
    [[nodiscard]] bool hasSettled(SizePx parent);
    /// Whether a size that has settled is one to ask about.
    [[nodiscard]] bool isNews(SizePx parent);

    SizePx candidate;
    int stableTicks = 0;
    SizePx applied;
    SizePx asked;     ///< for, last
    int requests = 0; ///< in a row
    int ticksSinceRequest = 0;
    Phase phase = Phase::Opening;
};

/// A drag of the resize corner, horizontal only: the height follows the width.
class CornerDrag {
public:
    /// What one motion means.
    struct Move {
        SizePx size; ///< of the view, from now on
        bool send;   ///< far enough from what the host was last told
    };

    void press(double xRootPx, SizePx window);
    [[nodiscard]] Move move(double xRootPx);
    /// The final size; `window` when the pointer never moved.
    [[nodiscard]] SizePx release(SizePx window);

private:
    double baseX = 0.0;
    SizePx base;
    SizePx lastSent;
    SizePx pending;
};

} // namespace ui
