#include "tools/editor-shots/Situations.h"

#include "shm/Obstacle.h"
#include "tools/demo/Recipes.h"
#include "tools/editor-shots/Listening.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace shots {
namespace {

using ui::Point;
using ui::Target;

void setName(std::span<char> field, std::string_view name) {
    name = name.substr(0, field.size() - 1);
    *std::ranges::copy(name, field.begin()).out = '\0';
}

void addInstances(Scene& scene, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        ui::RemoteInstanceInfo entry;
        entry.id = 100 + scene.panel.view.instances.size();
        setName(entry.name, name);
        scene.panel.view.instances.push_back(entry);
    }
}

void hover(Scene& scene, Target target, Point pointer) {
    scene.panel.hover = target;
    scene.panel.tooltip = true;
    scene.panel.pointer = pointer;
}

shm::BandSet oneBand() { return {{}, 1}; }

shm::BandSet threeBands() {
    return {{{{20.0F, 250.0F, -30.0F, 2.0F},
              {250.0F, 2500.0F, -46.0F, 6.0F},
              {2500.0F, 20000.0F, -55.0F, 4.0F}}},
            3};
}

void play(Scene& scene, const Sounds& sounds, double seconds) {
    scene.sounds = &sounds;
    scene.seconds = seconds;
}

/// The manual's first recipe: the bass gives way to the kick, here 60 ms after a stroke.
void playBassUnderKick(Scene& scene) {
    static const Sounds kSounds = {demo::makeBass(8.0), demo::makeKick(8.0)};
    play(scene, kSounds, 2.56);
}

/// While a note of the lead guitar sounds.
void playGuitars(Scene& scene) {
    static const Sounds kSounds = {demo::makeRhythmGuitar(8.0), demo::makeLeadGuitar(8.0)};
    play(scene, kSounds, 2.2);
}

/// Open registry, nobody else there.
void alone(Scene& scene) {
    scene.panel.view.registryOpen = true;
    scene.panel.view.own.bands = oneBand();
    playBassUnderKick(scene);
    setName(scene.panel.view.name, "Bass");
}

void closedRegistry(Scene& scene) {
    alone(scene);
    scene.panel.view.registryOpen = false;
    scene.panel.view.obstacle = Explain(shm::Obstacle::Full);
}

void unpaired(Scene& scene) {
    alone(scene);
    addInstances(scene, {"Kick", "Drum bus", "TessellaDuckwork #4"});
}

void paired(Scene& scene) {
    unpaired(scene);
    scene.panel.view.peerId = scene.panel.view.instances.front().id;
    scene.panel.view.own = demo::kBassUnderKick;
    scene.panel.view.peer.bands = oneBand();
    scene.panel.view.peerDuck = false;
}

void guitars(Scene& scene) {
    paired(scene);
    playGuitars(scene);
    setName(scene.panel.view.name, "Rhythm guitar");
    setName(scene.panel.view.instances.front().name, "Lead guitar");
    scene.panel.view.own = demo::kRhythmUnderLead;
}

/// Both give way.
void threeAndThree(Scene& scene) {
    guitars(scene);
    scene.panel.view.peerDuck = true;
    scene.panel.view.own.filters = {45.0F, 16000.0F};
    scene.panel.view.own.bands = threeBands();
    scene.panel.view.own.bands[0].loHz = 45.0F;
    scene.panel.view.own.bands[2].hiHz = 16000.0F;
    scene.panel.view.peer.bands = threeBands();
    scene.panel.view.peer.bands[1].enabled = false;
    scene.panel.view.peer.filters = {20.0F, 20000.0F};
    scene.panel.view.own.controls = {4.5F, 240.0F, 2.5F};
    scene.panel.view.peer.controls = {0.1F, 2000.0F, -12.0F};
}

void disabledBand(Scene& scene) {
    threeAndThree(scene);
    scene.panel.view.own.bands[1].enabled = false;
}

void bypassed(Scene& scene) {
    threeAndThree(scene);
    scene.panel.view.ownBypass = scene.panel.view.peerBypass = true;
}

void renaming(Scene& scene) {
    paired(scene);
    scene.panel.nameEdit.begin("Warm pad");
}

void renamingLong(Scene& scene) {
    paired(scene);
    scene.panel.nameEdit.begin("A name of sixty letters, which is all that this field takes");
}

void longNames(Scene& scene) {
    alone(scene);
    constexpr const char* kLong =
        "A wonderfully long name, wider than any field that shows it, äöü";
    addInstances(scene, {kLong, "Ümlaut — ▲ • «guillemets»"});
    scene.panel.view.peerId = 100;
    scene.panel.view.peer.bands = oneBand();
    setName(scene.panel.view.name, kLong);
    scene.panel.dropdownOpen = true;
}

void dropdownEmpty(Scene& scene) {
    alone(scene);
    scene.panel.dropdownOpen = true;
}

void dropdownThree(Scene& scene) {
    threeAndThree(scene);
    scene.panel.dropdownOpen = true;
    hover(scene, Target::Entry + 1, {150.0F, 311.0F});
}

void dropdownFull(Scene& scene) {
    threeAndThree(scene);
    addInstances(scene, {"Kick", "Snare", "Overheads", "Bass", "Guitar left", "Guitar right",
                         "Keys", "Strings", "Choir", "Brass", "Noise", "Reverb return"});
    scene.panel.dropdownOpen = true;
    hover(scene, Target::Entry + 5, {150.0F, 399.0F});
}

void dragThreshold(Scene& scene) {
    threeAndThree(scene);
    scene.panel.dragging = Target::LocalThreshold + 1;
}

void dragRatio(Scene& scene) {
    threeAndThree(scene);
    scene.panel.view.own.bands[2].ratio = 20.0F;
    scene.panel.dragging = Target::LocalRatio + 2;
}

void dragEdge(Scene& scene) {
    threeAndThree(scene);
    scene.panel.dragging = Target::LocalEdge + 1;
}

void hotFilters(Scene& scene) {
    threeAndThree(scene);
    scene.panel.dragging = Target::LocalLowPass;
    scene.panel.view.peer.filters = {120.0F, 9500.0F};
    scene.panel.view.peer.bands[0].loHz = 120.0F;
    scene.panel.view.peer.bands[2].hiHz = 9500.0F;
}

/// Its spectra and meters are given from now on.
void freeze(Scene& scene) {
    listen(scene);
    scene.sounds = nullptr;
}

/// Narrow bands, filters close together, thresholds at both ends.
void crowded(Scene& scene) {
    threeAndThree(scene);
    freeze(scene);
    scene.panel.view.own.filters = {1000.0F, 20000.0F};
    scene.panel.view.own.bands = {{{{1000.0F, 1230.0F, 0.0F, 20.0F},
                                    {1230.0F, 1600.0F, -60.0F, 20.0F},
                                    {1600.0F, 20000.0F, -60.0F, 1.0F}}},
                                  3};
    scene.meters.reductionDb = {-24.0F, -18.8F, -40.0F};
    scene.panel.view.peer.filters = {900.0F, 1100.0F};
    scene.panel.view.peer.bands = {{{{900.0F, 910.0F, 0.0F, 20.0F},
                                     {910.0F, 920.0F, 0.0F, 20.0F},
                                     {920.0F, 1100.0F, 0.0F, 20.0F}}},
                                   3};
    scene.panel.view.peerReductionDb = {-24.0F, -24.0F, -3.0F};
}

void loud(Scene& scene) {
    threeAndThree(scene);
    scene.sounds = nullptr;
    scene.panel.localLevels.fill(0.0F);
    scene.panel.remoteLevels.fill(-40.0F);
    scene.meters.reductionDb = {-24.0F, -24.0F, -24.0F};
}

struct Hover {
    Target target;
    Point pointer;
};
template <int index>
void hovered(Scene& scene) {
    constexpr Hover kHovers[] = {{Target::LocalAttack, {68.0F, 540.0F}},
                                 {Target::LocalRelease, {158.0F, 540.0F}},
                                 {Target::LocalMakeup, {248.0F, 540.0F}},
                                 {Target::PeerAttack, {712.0F, 540.0F}},
                                 {Target::PeerRelease, {802.0F, 540.0F}},
                                 {Target::PeerMakeup, {892.0F, 540.0F}},
                                 {Target::Name, {150.0F, 20.0F}},
                                 {Target::Dropdown, {150.0F, 264.0F}},
                                 {Target::LocalHighPass, {113.0F, 42.0F}},
                                 {Target::LocalLowPass, {921.0F, 42.0F}},
                                 {Target::RemoteHighPass, {12.0F, 286.0F}},
                                 {Target::RemoteLowPass, {948.0F, 286.0F}},
                                 {Target::LocalBand + 1, {520.0F, 150.0F}},
                                 {Target::LocalEdge, {353.0F, 150.0F}},
                                 {Target::LocalThreshold, {230.0F, 139.0F}},
                                 {Target::LocalRatio + 1, {658.0F, 195.0F}},
                                 {Target::RemoteBand + 2, {850.0F, 470.0F}},
                                 {Target::RemoteEdge, {353.0F, 400.0F}},
                                 {Target::RemoteThreshold, {230.0F, 383.0F}},
                                 {Target::RemoteRatio + 1, {658.0F, 439.0F}},
                                 {Target::OwnBypass, {556.0F, 21.0F}},
                                 {Target::PeerBypass, {566.0F, 265.0F}},
                                 {Target::OwnDuck, {603.0F, 21.0F}},
                                 {Target::PeerDuck, {613.0F, 265.0F}},
                                 {Target::ResizeCorner, {950.0F, 590.0F}}};
    threeAndThree(scene);
    hover(scene, kHovers[index].target, kHovers[index].pointer);
}

// clang-format off
constexpr Situation kSituations[] = {
    {"alone", alone},
    {"closed", closedRegistry},
    {"unpaired", unpaired},
    {"paired", paired},
    {"guitars", guitars},
    {"bands", threeAndThree},
    {"disabled", disabledBand},
    {"bypassed", bypassed},
    {"renaming", renaming},
    {"renaming-long", renamingLong},
    {"long-names", longNames},
    {"dropdown-empty", dropdownEmpty},
    {"dropdown", dropdownThree},
    {"dropdown-full", dropdownFull},
    {"drag-threshold", dragThreshold},
    {"drag-ratio", dragRatio},
    {"drag-edge", dragEdge},
    {"drag-filter", hotFilters},
    {"crowded", crowded},
    {"loud", loud},
    {"tip-attack", hovered<0>}, {"tip-release", hovered<1>}, {"tip-makeup", hovered<2>},
    {"tip-peer-attack", hovered<3>}, {"tip-peer-release", hovered<4>}, {"tip-peer-makeup", hovered<5>},
    {"tip-name", hovered<6>}, {"tip-dropdown", hovered<7>},
    {"tip-hp", hovered<8>}, {"tip-lp", hovered<9>},
    {"tip-peer-hp", hovered<10>}, {"tip-peer-lp", hovered<11>},
    {"tip-band", hovered<12>}, {"tip-edge", hovered<13>},
    {"tip-threshold", hovered<14>}, {"tip-ratio", hovered<15>},
    {"tip-peer-band", hovered<16>}, {"tip-peer-edge", hovered<17>},
    {"tip-peer-threshold", hovered<18>}, {"tip-peer-ratio", hovered<19>},
    {"tip-bypass", hovered<20>}, {"tip-peer-bypass", hovered<21>},
    {"tip-duck", hovered<22>}, {"tip-peer-duck", hovered<23>},
    {"tip-resize", hovered<24>},
};
// clang-format on

} // namespace

std::span<const Situation> allSituations() { return kSituations; }

Scene sceneOf(const Situation& situation) {
    Scene scene;
    situation.arrange(scene);
    if (scene.sounds != nullptr)
        listen(scene);
    return scene;
}

} // namespace shots
