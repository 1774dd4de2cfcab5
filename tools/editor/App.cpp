#include "tools/editor/App.h"

#include "tools/render/Failure.h"
#include "tools/render/Registry.h"
#include "tools/render/StateFiles.h"

#include <iostream>
#include <poll.h>
#include <string>

namespace editor {
namespace {

/// How late a resize request of the plug-in's thread may be seen.
constexpr std::chrono::milliseconds kTurn{10};

AudioFeed feedOf(const Options& options, std::size_t index) {
    if (const auto& file = options.tracks[index].file)
        return AudioFeed::fromFile(*file);
    const bool alone = options.tracks.size() == 1;
    return index == 1 || alone ? AudioFeed::bass() : AudioFeed::kick();
}

/// Creates one track after the other, and links them if that is wanted.
class TrackMaker {
public:
    TrackMaker(const Options& options, const host::Library& library)
        : mOptions(options), mLibrary(library) {}

    std::unique_ptr<Track> make(std::size_t index) {
        auto track = std::make_unique<Track>(mLibrary, feedOf(mOptions, index));
        mIds.push_back(mRegistry.identifyNewInstance());
        if (const auto& state = mOptions.tracks[index].loadState)
            render::loadStateFile(track->instance(), *state, index + 1);
        return track;
    }

    void pair() {
        for (const std::uint64_t id : mIds)
            if (id == 0)
                render::fail("the registry has no free slot: close other instances, or use "
                             "--private");
        mRegistry.pair(mIds[0], mIds[1]);
    }

private:
    const Options& mOptions;
    const host::Library& mLibrary;
    render::Registry mRegistry;
    std::vector<std::uint64_t> mIds; ///< 0: not in the registry
};

} // namespace

App::App(const Options& options, const volatile std::sig_atomic_t& interrupted)
    : mOptions(options), mInterrupted(interrupted), mLibrary(*options.plugin) {
    createTracks();
    startSound();
    openWindows();
}

void App::createTracks() {
    TrackMaker maker(mOptions, mLibrary);
    for (std::size_t i = 0; i < mOptions.tracks.size(); ++i) {
        mTracks.push_back(maker.make(i));
        if (mTracks[i]->feed().sampleRate() != mTracks[0]->feed().sampleRate())
            render::failUsage("the two files differ in sample rate");
        mTracks[i]->start();
    }
    if (mOptions.pair)
        maker.pair();
}

void App::startSound() {
    if (mOptions.sound)
        mSound = openDefaultDevice(mMixer);
    const bool isRefused = mOptions.sound && !mSound;
    if (!mSound)
        mSound = playSilently(mMixer);
    std::cout << "sound: " << mSound->name() << ", " << mMixer.sampleRate() << " Hz"
              << (isRefused ? " (no device takes it)" : "") << std::endl;
}

void App::openWindows() {
    int x = 0;
    for (std::size_t i = 0; i < mTracks.size(); ++i) {
        const std::string title =
            "TessellaDuckwork " + std::to_string(i + 1) + ": " + mTracks[i]->feed().name();
        mWindows.push_back(std::make_unique<EditorWindow>(
            mServer, mTracks[i]->instance(), EditorWindow::Appearance{title, mOptions.scale, x}));
        x += static_cast<int>(mWindows.back()->size().width);
        std::cout << "window: " << title << std::endl;
    }
}

void App::run() {
    while (!isOver()) {
        serveMainThread();
        std::erase_if(mWindows, [](const auto& window) { return !window->update(); });
    }
    mWindows.clear();
    mSound.reset();
    saveStates();
}

void App::serveMainThread() {
    pollfd fromServer{.fd = mServer.fd(), .events = POLLIN, .revents = 0};
    poll(&fromServer, 1, static_cast<int>(kTurn.count()));
    for (const auto& track : mTracks)
        track->instance().pumpMainThread();
    mServer.dispatch();
}

bool App::isOver() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - mStart;
    return mWindows.empty() || mInterrupted != 0 ||
           (mOptions.seconds && passed.count() >= *mOptions.seconds);
}

void App::saveStates() const {
    for (std::size_t i = 0; i < mTracks.size(); ++i)
        if (const auto& path = mOptions.tracks[i].saveState)
            render::saveStateFile(mTracks[i]->instance(), *path, i + 1);
}

} // namespace editor
