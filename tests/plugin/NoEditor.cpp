#include "tests/plugin/NoEditor.h"

#include <algorithm>
#include <utility>

namespace {

thread_local dsp::BandLevels sHandedPeerLevel{};

class NoEditor final : public Editor {
    void SetMeters(const float* /*ownLevel*/, const float* peerLevel,
                   const float* /*reductionDb*/) override {
        std::copy_n(peerLevel, sHandedPeerLevel.size(), sHandedPeerLevel.begin());
        if (const auto todo = std::exchange(support::tAtNextMeters, nullptr))
            todo();
    }
};

} // namespace

thread_local std::function<void()> support::tAtNextMeters;

std::unique_ptr<Editor> support::openNoEditor(EditorAccess& /*instance*/,
                                              std::uintptr_t /*parentWindow*/, int /*widthPx*/,
                                              int /*heightPx*/) {
    return std::make_unique<NoEditor>();
}

dsp::BandLevels support::handedPeerLevel() { return sHandedPeerLevel; }
