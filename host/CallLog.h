/// What a plug-in asked of its host: every callback with its thread, in order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace host {

enum class Callback : std::uint8_t {
    GetExtension, ///< text: the id
    RequestRestart,
    RequestProcess,
    RequestCallback,
    Log, ///< value: severity, text: the message
    IsMainThread,
    IsAudioThread,
    ParamsRescan, ///< value: flags
    ParamsClear,  ///< value: parameter id, text empty
    ParamsRequestFlush,
    StateMarkDirty,
    LatencyChanged,
    TailChanged,
    AudioPortsIsRescanFlagSupported, ///< value: flag
    AudioPortsRescan,                ///< value: flags
    GuiResizeHintsChanged,
    GuiRequestResize, ///< value: width, value2: height
    GuiRequestShow,
    GuiRequestHide,
    GuiClosed, ///< value: whether the GUI was destroyed
    Count
};

struct CallRecord {
    Callback callback{};
    std::uint32_t value = 0;
    std::uint32_t value2 = 0;
    std::thread::id thread;
    bool fromMain = false;  ///< as the thread check would have answered
    bool fromAudio = false; ///< likewise
    std::array<char, 256> text{};

    [[nodiscard]] std::string_view message() const { return text.data(); }
};

/// Counts every call and keeps the first kCapacity since the last clear. Adding neither allocates
/// nor throws, so that a counted call does not disturb a test of the audio thread. Thread-check
/// questions are counted but not kept: they would crowd out the rest. [any]
class CallLog {
public:
    static constexpr std::size_t kCapacity = 4096;

    CallLog();
    void add(const CallRecord& record) noexcept;
    void clear();

    [[nodiscard]] std::size_t count(Callback callback) const;
    /// The kept records of one kind, or of all kinds, oldest first.
    [[nodiscard]] std::vector<CallRecord> records(Callback callback) const;
    [[nodiscard]] std::vector<CallRecord> records() const;

private:
    mutable std::mutex mutex;
    std::vector<CallRecord> kept;
    std::array<std::size_t, static_cast<std::size_t>(Callback::Count)> counts{};
};

} // namespace host
