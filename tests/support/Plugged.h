/// An instance with direct access to its operations, in a host of ours.
#pragma once

#include "dsp/Bands.h"
#include "host/AudioBuffers.h"
#include "host/Extensions.h"
#include "host/Instance.h"
#include "host/Params.h"
#include "plugin/TessellaDuckwork.h"
#include "shm/RegistryMonitor.h"
#include "tests/support/Chunks.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace support {

using host::Callback;

/// An editor without a window: what the thread's last block has handed it.
struct NoEditor final : Editor {
    static inline thread_local dsp::BandLevels tPeerLevel{}, tReductionDb{};
    static inline std::function<void()> sOnMeters, sOnClose;

    ~NoEditor() override {
        if (sOnClose)
            sOnClose();
    }
    void SetMeters(const float* /*ownLevel*/, const float* peerLevel,
                   const float* reductionDb) override {
        std::copy_n(peerLevel, tPeerLevel.size(), tPeerLevel.begin());
        std::copy_n(reductionDb, tReductionDb.size(), tReductionDb.begin());
        if (sOnMeters)
            sOnMeters();
    }
    /// A MakeEditor.
    static std::unique_ptr<Editor> open(EditorAccess& /*instance*/, std::uintptr_t /*window*/,
                                        int /*widthPx*/, int /*heightPx*/) {
        return std::make_unique<NoEditor>();
    }
};

/// One of several instances, in the registry slot of its index.
struct Plugged {
    static constexpr std::uint32_t kFrames = 64;

    std::size_t index;
    clap_plugin_descriptor_t descriptor{};
    host::HostCallbacks callbacks;
    TessellaDuckwork& plug =
        *MakePlug({.descriptor = &descriptor, .host = callbacks.record()}, &NoEditor::open);
    host::Instance instance{callbacks, plug.clapPlugin()};
    host::AudioBuffers audio{kFrames};
    host::EventList in, sent;
    shm::RegistryMonitor monitor;
    std::uint64_t id = 0;

    explicit Plugged(std::size_t slotIndex = 0) : index(slotIndex) {
        EXPECT_TRUE(instance.init() && monitor.Attach());
        id = slot().id;
    }

    void start() {
        EXPECT_TRUE(instance.activate(48000.0, 1, kFrames) && instance.startProcessing());
    }

    [[nodiscard]] shm::SlotSnapshot slot() const {
        std::vector<shm::SlotSnapshot> slots;
        monitor.ReadSlots(slots);
        return slots.at(index);
    }

    void block() {
        sent.clear();
        instance.process(audio, kFrames, in, sent);
        in.clear();
    }

    void flush() {
        sent.clear();
        EXPECT_TRUE(host::Params(instance).flush(in, sent));
        in.clear();
    }

    /// The host's value for the next block or flush.
    void automate(int param, double plain) {
        in.addParamValue(clap_id(param), plug.GetParam(param).ToHost(plain));
    }

    int load(const Bytes& bytes) {
        iplug::IByteChunk chunk;
        chunk.PutBytes(bytes.data(), bytes.size());
        return plug.UnserializeState(chunk, 0);
    }

    Bytes saved() {
        iplug::IByteChunk chunk;
        EXPECT_TRUE(plug.SerializeState(chunk));
        return {chunk.Data(), chunk.Data() + chunk.Size()};
    }

    /// As another editor's list has it.
    [[nodiscard]] TDInstanceInfo info() const {
        TDInstanceInfo info{.id = id};
        std::ranges::copy(slot().name, info.name);
        return info;
    }

    /// What an open editor's thread does once a frame.
    EditorView followRegistry() {
        static constexpr std::array<float, shm::kDisplayBinCount> kSilence{};
        EditorView view;
        PeerSpectrum spectrum;
        plug.FollowRegistry(kSilence, view, spectrum);
        return view;
    }

    /// "index=plain value" of every value event of the last block.
    [[nodiscard]] std::string told() const {
        std::string text;
        for (std::uint32_t i = 0; i < sent.size(); ++i)
            if (const auto* event = sent.paramValueAt(i)) {
                const auto& param = plug.GetParam(static_cast<int>(event->param_id));
                text += std::to_string(event->param_id) + "=" +
                        param.ValueToString(param.FromHost(event->value)) + " ";
            }
        return text;
    }

    [[nodiscard]] double value(int param) const { return plug.GetParam(param).Value(); }
};

} // namespace support
