#include "adapter/IPlugCLAP.h"

#include <array>

namespace iplug {
namespace {

/// The host may take the bytes in as many pieces as it likes.
bool writeAll(const clap_ostream_t& stream, const IByteChunk& chunk) {
    const std::uint8_t* next = chunk.Data();
    std::int64_t left = chunk.Size();
    while (left > 0) {
        const std::int64_t taken = stream.write(&stream, next, static_cast<std::uint64_t>(left));
        if (taken <= 0 || taken > left)
            return false;
        next += taken;
        left -= taken;
    }
    return true;
}

/// A state is a few hundred bytes: a stream that never ends is not one.
constexpr int kMaxBytes = 1 << 20;

bool readAll(const clap_istream_t& stream, IByteChunk& chunk) {
    std::array<std::uint8_t, 256> piece;
    for (;;) {
        const std::int64_t given = stream.read(&stream, piece.data(), piece.size());
        if (given <= 0)
            return given == 0;
        if (given > static_cast<std::int64_t>(piece.size()) || chunk.Size() > kMaxBytes)
            return false;
        chunk.PutBytes(piece.data(), static_cast<std::size_t>(given));
    }
}

} // namespace

bool IPlugCLAP::stateSave(const clap_ostream_t* stream) noexcept {
    if (stream == nullptr || stream->write == nullptr)
        return false;
    return guarded("saving the state failed", [&] {
        IByteChunk chunk;
        return SerializeState(chunk) && writeAll(*stream, chunk);
    });
}

bool IPlugCLAP::stateLoad(const clap_istream_t* stream) noexcept {
    if (stream == nullptr || stream->read == nullptr)
        return false;
    return guarded("loading the state failed", [&] {
        IByteChunk chunk;
        if (!readAll(*stream, chunk) || UnserializeState(chunk, 0) < 0)
            return false;
        OnRestoreState();
        return true;
    });
}

/// The host still shows the values from before the load.
void IPlugCLAP::OnRestoreState() const {
    if (canUseParams())
        hostRescanValues();
}

void IPlugCLAP::MarkDirty() {
    if (canUseState())
        AskOnMainThread(markDirtyUnderWay, [this] { hostMarkDirty(); });
}

} // namespace iplug
