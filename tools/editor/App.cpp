#include "tools/editor/App.h"

#include "tools/common/Failure.h"
#include "tools/common/InstanceSetup.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Registry.h"
#include "tools/demo/Recipes.h"

#include <algorithm>
#include <iostream>
#include <poll.h>
#include <string>

namespace editor {
namespace {

/// How late a resize request of the plug-in's thread may be seen.
constexpr std::chrono::milliseconds kTurn{10};

AudioFeed feedOf(const Options& options, std::size_t index) {
    if (const auto& file = options.tracks[index].file)
        return AudioFeed::fromFile(*file, options.damaged);
    const bool alone = options.tracks.size() == 1;
    return index == 1 || alone ? AudioFeed::bass() : AudioFeed::kick();
}

/// Creates one track after the other, and links them if that is wanted.
class TrackMaker {
public:
    TrackMaker(const Options& given, const host::Library& loaded)
        : options(given), library(loaded) {}

    std::unique_ptr<Track> make(std::size_t index) {
        auto track = std::make_unique<Track>(library, feedOf(options, index));
        ids.push_back(registry.identifyNewInstance());
        if (ids.back() == 0)
            reportNoSlot(index + 1);
        if (const auto& state = options.tracks[index].loadState)
            tools::loadStateFile(track->instance(), *state, index + 1);
        return track;
    }

    void pair() {
        if (playsDemo())
            setRecipe();
        registry.pair(ids[0], ids[1]);
    }

private:
    /// An instance without a slot plays on alone; only a pair needs two.
    void reportNoSlot(std::size_t trackNumber) const {
        if (options.pair)
            tools::fail(tools::whyNoSlot(trackNumber));
        std::cerr << "tessella-editor: " << tools::whyNoSlot(trackNumber) << std::endl;
    }

    [[nodiscard]] bool playsDemo() const {
        return std::ranges::none_of(
            options.tracks, [](const auto& track) { return track.file || track.loadState; });
    }

    /// So that ducking is seen in the first second.
    void setRecipe() {
        registry.setDuckSelf(ids[0], false);
        registry.set(ids[1], demo::kBassUnderKick);
    }

    const Options& options;
    const host::Library& library;
    tools::Registry registry;
    std::vector<std::uint64_t> ids; ///< 0: not in the registry
};

} // namespace

App::App(const Options& given) : options(given), library(*given.plugin) {
    createTracks();
    startSound();
    openWindows();
}

void App::createTracks() {
    TrackMaker maker(options, library);
    for (std::size_t i = 0; i < options.tracks.size(); ++i) {
        tracks.push_back(maker.make(i));
        if (tracks[i]->feed().sampleRate() != tracks[0]->feed().sampleRate())
            tools::failUsage("the two files differ in sample rate");
        tracks[i]->start();
    }
    if (options.pair)
        maker.pair();
}

void App::startSound() {
    if (options.sound)
        sound = openDefaultDevice(mixer);
    const bool isRefused = options.sound && !sound;
    if (!sound)
        sound = playSilently(mixer);
    std::cout << "sound: " << sound->name() << ", " << mixer.sampleRate() << " Hz"
              << (isRefused ? " (no device takes it)" : "") << std::endl;
}

void App::openWindows() {
    int x = 0;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const std::string title =
            "TessellaDuckwork " + std::to_string(i + 1) + ": " + tracks[i]->feed().name();
        windows.push_back(std::make_unique<EditorWindow>(
            server, tracks[i]->instance(), EditorWindow::Appearance{title, options.scale, x}));
        x += static_cast<int>(windows.back()->size().width);
        std::cout << "window: " << title << std::endl;
    }
}

void App::run() {
    while (!isOver()) {
        serveMainThread();
        std::erase_if(windows, [](const auto& window) { return !window->update(); });
    }
    windows.clear();
    sound.reset();
    saveStates();
}

void App::serveMainThread() {
    pollfd fromServer{.fd = server.fd(), .events = POLLIN, .revents = 0};
    poll(&fromServer, 1, static_cast<int>(kTurn.count()));
    for (const auto& track : tracks)
        track->instance().pumpMainThread();
    server.dispatch();
}

bool App::isOver() const {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return windows.empty() || tools::caughtInterrupt() != 0 ||
           (options.seconds && passed.count() >= *options.seconds);
}

void App::saveStates() const {
    for (std::size_t i = 0; i < tracks.size(); ++i)
        if (const auto& path = options.tracks[i].saveState)
            tools::saveStateFile(tracks[i]->instance(), *path, i + 1);
}

} // namespace editor
