#include "ui/WindowSize.h"

#include "ui/Canvas.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace ui {
namespace {

constexpr int kMinParentPx = 2;   ///< smaller windows are not yet laid out
constexpr int kSettledTicks = 30; ///< half a second of frames
constexpr int kTolerancePx = 16;  ///< what a host may round without being asked again
constexpr int kMaxRequests = 2;   ///< in a row
constexpr int kAnswerTicks = 60;  ///< what has settled a second later is no answer to a request
constexpr int kSendPx = 6;        ///< a host is not told of every pixel

/// Whether two sizes differ by this much or more in either direction.
bool differBy(int px, SizePx a, SizePx b) {
    return std::abs(a.width - b.width) >= px || std::abs(a.height - b.height) >= px;
}

bool isSize(SizePx size) { return size.width > 0 && size.height > 0; }

int pixels(double value, int min, int max) {
    return static_cast<int>(inRange(value, static_cast<double>(min), static_cast<double>(max)));
}

} // namespace

bool HostSizeFollower::hasSettled(SizePx parent) {
    if (parent != candidate) {
        candidate = parent;
        stableTicks = 0;
        return false;
    }
    stableTicks = std::min(stableTicks + 1, kSettledTicks + 1);
    return stableTicks == kSettledTicks;
}

void HostSizeFollower::noteRequest(SizePx wanted) {
    asked = wanted;
    requests = 1;
    ticksSinceRequest = 0;
}

/// Against the last size that counted, so that many small steps add up.
bool HostSizeFollower::isNews(SizePx parent) {
    if (!differBy(kTolerancePx + 1, parent, applied))
        return false;
    applied = parent;
    if (ticksSinceRequest == kAnswerTicks)
        requests = 0;
    const bool asAsked = requests > 0 && !differBy(kTolerancePx + 1, parent, asked);
    if (asAsked)
        requests = 0;
    return !asAsked && requests < kMaxRequests;
}

std::optional<HostSizeFollower::Request> HostSizeFollower::externalSizeTick(SizePx parent,
                                                                            SizePx remembered) {
    ticksSinceRequest = std::min(ticksSinceRequest + 1, kAnswerTicks);
    if (parent.width < kMinParentPx || parent.height < kMinParentPx || !hasSettled(parent))
        return {};
    if (phase == Phase::Following) {
        if (!isNews(parent))
            return {};
        asked = editor::constrained(parent);
        ++requests;
        ticksSinceRequest = 0;
        return Request{parent, asked, true};
    }
    applied = parent;
    const bool restore = phase == Phase::Opening && isSize(remembered) &&
                         differBy(kTolerancePx + 1, parent, remembered);
    phase = restore ? Phase::Restoring : Phase::Following;
    if (!restore)
        return {};
    stableTicks = 0;
    return Request{parent, remembered, false};
}

void CornerDrag::press(double xRootPx, SizePx window) {
    baseX = xRootPx;
    base = lastSent = window;
    pending = {};
}

CornerDrag::Move CornerDrag::move(double xRootPx) {
    const double dx = xRootPx - baseX;
    const double dy = base.height * dx / base.width;
    pending = {pixels(base.width + dx, editor::kMinSize.width, editor::kMaxCornerSize.width),
               pixels(base.height + dy, editor::kMinSize.height, editor::kMaxCornerSize.height)};
    const bool send = differBy(kSendPx, pending, lastSent);
    if (send) {
        baseX = xRootPx;
        base = lastSent = pending;
    }
    return {pending, send};
}

SizePx CornerDrag::release(SizePx window) {
    const SizePx dragged = std::exchange(pending, {});
    return isSize(dragged) ? dragged : window;
}

} // namespace ui
