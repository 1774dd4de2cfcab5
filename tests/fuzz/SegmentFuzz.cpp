/// A hostile registry: any bytes in any field but the lock, seen by all who read them: blocks, the
/// editor's poll, saves. Between them the user goes on, with any gesture anywhere.
#include "shm/SegmentLayout.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/Subject.h"
#include "ui/EditorSession.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

using fuzz::demand;
using shm::kSegmentBytes;

constexpr std::size_t kLockBegin = 8, kLockEnd = 48;

class NoWindow final : public ui::SessionWindow {
    void grabKeyboard() override {}
    void releaseKeyboard() override {}
    [[nodiscard]] ui::SizePx size() const override { return {960, 600}; }
    void resize(ui::SizePx) override {}
};

/// Every run begins with the bytes of the first one.
void restore(const fuzz::MappedRegistry& registry) {
    unsigned char* const base = registry.bytes();
    static const std::vector<unsigned char> first(base, base + kSegmentBytes);
    std::copy(first.begin(), first.begin() + kLockBegin, base);
    std::copy(first.begin() + kLockEnd, first.end(), base + kLockEnd);
}

void poke(const fuzz::MappedRegistry& registry, fuzz::Bytes& bytes) {
    const std::size_t slot = bytes.below(3), field = bytes.below(1401);
    for (std::size_t at = 56 + 5376 * slot + field; const std::uint8_t byte : bytes.some(8))
        if (const std::size_t here = at++; here >= kLockEnd && here < kSegmentBytes)
            registry.bytes()[here] = byte;
}

/// Numbers of a slot that a counter announces; kNoCounter: read without.
struct Group {
    unsigned begin, words, counter;
};
constexpr unsigned kNoCounter = 0;
#define TD_AT(field) offsetof(shm::RegistrySlot, field)
constexpr Group kGroups[] = {
    {TD_AT(displayName), 16, kNoCounter},   {TD_AT(gainReduction), 3, kNoCounter},
    {TD_AT(bandCount), 1, TD_AT(bandsSeq)}, {TD_AT(bands), 15, TD_AT(bandsSeq)},
    {TD_AT(hpHz), 2, TD_AT(hpLpSeq)},       {TD_AT(controls), 3, TD_AT(controlsSeq)},
    {TD_AT(bypass), 1, TD_AT(controlsSeq)}, {TD_AT(audioBins), 1024, TD_AT(audioBinsSeq)}};
#undef TD_AT
constexpr std::uint32_t kOdd[] = {0x7FC00000, 0x7F800000, 0xFF800000, 0x7F7FFFFF, // NaN, ±inf, most
                                  0xFFFFFFFF, 0x80000000, 0x00000001, 0x41414141};

/// One odd word in all of a group or in one of its numbers, announced as its owner would: single
/// bytes seldom make one that a reader takes up.
void forge(const fuzz::MappedRegistry& registry, fuzz::Bytes& bytes) {
    unsigned char* const slot = registry.bytes() + 56 + 5376 * bytes.below(3);
    const Group& group = bytes.oneOf(kGroups);
    const std::uint32_t odd = bytes.oneOf(kOdd);
    const unsigned only = bytes.flip() ? group.words : bytes.below(group.words);
    for (unsigned word = 0; word < group.words; ++word)
        if (only == group.words || only == word)
            std::memcpy(slot + group.begin + std::size_t{4} * word, &odd, 4);
    if (group.counter != kNoCounter)
        ++slot[group.counter];
}

struct Studio {
    fuzz::Subject own, peer;
    NoWindow window;
    ui::EditorSession session{own.plug, window};
    Studio() {
        session.initBands();
        session.pollAndSyncSHM();
        for (const ui::Point at : {ui::Point{148, 264}, ui::Point{148, 289}}) // list, first entry
            session.press({at, at.x, ui::EditorSession::Button::Primary, at.y});
        session.pollAndSyncSHM();
        demand(session.panel().view.peerId != 0, "they are paired");
        missFrames();
    }
    /// What is missed now and then stays as it was seen last.
    void missFrames() {
        const fuzz::MappedRegistry registry;
        for (int block = 0; block < 64; ++block)
            peer.playBlock();
        for (int frame = 0; frame < 300; ++frame) // comes to rest
            session.pollAndSyncSHM();
        const auto levels = session.panel().remoteLevels;
        for (int frame = 0; frame < 40; ++frame) {
            registry->slots[1].active = std::uint8_t(frame % 2);
            session.pollAndSyncSHM();
            demand(session.panel().remoteLevels == levels, "misses are counted in a row");
        }
    }
};

void checkBands(const shm::BandSet& list) {
    demand(list.count >= 0 && list.count <= 3, "up to three bands");
    for (int i = 0; i < list.count; ++i) {
        const TDBand& band = list[i]; // NaN fails all of it
        demand(band.loHz >= 20 && band.loHz <= 20000 && band.hiHz >= 20 && band.hiHz <= 20000,
               "edges lie on the axis");
        demand(band.ratio >= 1 && band.ratio <= 20 && band.threshDb >= -60 && band.threshDb <= 0,
               "handles lie in the panel");
    }
}

void checkPanel(const ui::Panel& panel) {
    checkBands(panel.view.own.bands);
    checkBands(panel.view.peer.bands);
    for (const auto& levels : {panel.localLevels, panel.remoteLevels})
        for (const float level : levels)
            demand(std::isfinite(level), "levels are numbers");
    demand(panel.view.instances.size() < 16, "at most fifteen others");
    for (const auto& entry : panel.view.instances)
        demand(std::find(std::begin(entry.name), std::end(entry.name), '\0') !=
                   std::end(entry.name),
               "names have an end");
}

void gesture(ui::EditorSession& session, fuzz::Bytes& bytes) {
    const ui::Point at{static_cast<float>(bytes.between(-10, 970)),
                       static_cast<float>(bytes.between(-10, 610))};
    const auto button = static_cast<ui::EditorSession::Button>(bytes.below(3));
    switch (bytes.below(6)) {
    case 0:
        session.press({at, at.x, button, 0.1 * bytes.below(101)});
        break;
    case 1:
        session.move(at, at.x, bytes.flip());
        break;
    case 2:
        session.release();
        break;
    case 3:
        session.scroll(at, bytes.flip() ? 1.0 : -1.0);
        break;
    case 4:
        session.text(bytes.text(8).c_str());
        break;
    default:
        bytes.flip() ? session.commitName() : session.eraseCharacter();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Studio& studio = *new Studio; // as long as the process
    const fuzz::MappedRegistry registry;
    restore(registry);
    fuzz::Bytes bytes(data, size);
    for (int steps = 0; !bytes.empty() && steps < 64; ++steps)
        switch (bytes.below(7)) {
        case 0:
            poke(registry, bytes);
            break;
        case 1:
        case 6:
            forge(registry, bytes);
            break;
        case 2:
            studio.own.playBlock();
            studio.peer.playBlock();
            break;
        case 3:
            (void)studio.own.save();
            break;
        case 4:
            studio.session.pollAndSyncSHM();
            checkPanel(studio.session.panel());
            break;
        default:
            gesture(studio.session, bytes);
        }
    studio.own.playBlock();
    studio.own.checkParameters();
    studio.peer.checkParameters();
    return 0;
}
