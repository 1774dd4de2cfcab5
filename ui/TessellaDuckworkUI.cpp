#include "ui/TessellaDuckworkUI.h"

#include "shm/RegistryLock.h"
#include "ui/EditorWindow.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <optional>
#include <pthread.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::nanoseconds kFrame{16'666'000}; ///< 60 a second
/// Behind by more than this, frames are left out.
constexpr std::chrono::nanoseconds kMaxBehind = 5 * kFrame;
/// Between looks at a window of which nothing can be seen.
constexpr std::chrono::milliseconds kHiddenFrame{100};

/// Signals are the host's: threads started while this lives get none, but for those of their own
/// faults, which the host may want to know of.
class NoSignals {
public:
    NoSignals() {
        sigset_t others;
        sigfillset(&others);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
            sigdelset(&others, fault);
        pthread_sigmask(SIG_SETMASK, &others, &before);
    }
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;

private:
    sigset_t before{};
};

} // namespace

void TessellaDuckworkUI::Open(std::uintptr_t parentWindow, int widthPx, int heightPx,
                              EditorAccess& access) {
    instance = &access;
    running = true;
    const NoSignals none;
    thread = std::thread(
        [this, init = InitData{parentWindow, widthPx, heightPx}] { UIThreadFunc(init); });
}

void TessellaDuckworkUI::Close() {
    {
        const std::scoped_lock lock(sleepMutex); // no wake-up is missed
        running = false;
    }
    wake.notify_all();
    if (thread.joinable())
        thread.join();
}

void TessellaDuckworkUI::SetMeters(const float* ownLevel, const float* peerLevel,
                                   const float* reductionDb) {
    std::copy_n(ownLevel, ownLevels.size(), ownLevels.begin());
    std::copy_n(peerLevel, peerLevels.size(), peerLevels.begin());
    std::copy_n(reductionDb, reductionsDb.size(), reductionsDb.begin());
}

ui::Meters TessellaDuckworkUI::meters() const {
    ui::Meters read;
    std::copy(ownLevels.begin(), ownLevels.end(), read.ownLevel.begin());
    std::copy(peerLevels.begin(), peerLevels.end(), read.peerLevel.begin());
    std::copy(reductionsDb.begin(), reductionsDb.end(), read.reductionDb.begin());
    return read;
}

/// Nothing that goes wrong in here may reach the host: the editor goes away, the rest lives on.
void TessellaDuckworkUI::UIThreadFunc(const InitData& init) {
    pthread_setname_np(pthread_self(), "tessella-editor");
    try {
        runFrames(init);
    } catch (const std::exception&) {
    }
    running = false;
}

void TessellaDuckworkUI::runFrames(const InitData& init) {
    std::optional<ui::EditorWindow> window;
    {
        const shm::LockBudget budget(running);
        window.emplace(*instance, init.parent, ui::SizePx{init.widthPx, init.heightPx});
    }
    int pauses = shm::kLockRetries;
    auto next = Clock::now();
    while (window->opened() && !window->lost() && running) {
        sleepUntil(next);
        if (!running)
            break;
        bool visible = false;
        {
            const shm::LockBudget budget(running, pauses);
            visible = window->frame(meters());
            // A registry that has been busy for so long is hardly waited for until it is free
            // again.
            pauses = budget.IsOver() ? 1 : shm::kLockRetries;
        }
        next += visible ? kFrame : kHiddenFrame;
        if (Clock::now() - next > kMaxBehind)
            next = Clock::now();
    }
}

void TessellaDuckworkUI::sleepUntil(Clock::time_point time) {
    std::unique_lock lock(sleepMutex);
    wake.wait_until(lock, time, [this] { return !running; });
}

std::unique_ptr<Editor> OpenEditor(EditorAccess& instance, std::uintptr_t parentWindow, int widthPx,
                                   int heightPx) {
    auto editor = std::make_unique<TessellaDuckworkUI>();
    editor->Open(parentWindow, widthPx, heightPx, instance);
    return editor;
}
static_assert(std::is_same_v<decltype(&OpenEditor), MakeEditor>);
