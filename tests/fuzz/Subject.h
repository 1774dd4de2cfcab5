/// The instance that a fuzz target works on, and what it demands of it.
#pragma once

#include "host/AudioBuffers.h"
#include "host/Instance.h"
#include "plugin/TessellaDuckwork.h"
#include "tests/fuzz/Fuzz.h"

#include <cmath>
#include <cstdint>

namespace fuzz {

constexpr std::uint32_t kFrames = 64;
constexpr int kWholeChunk = 366;

/// Processing, with a registry slot if there is one.
struct Subject {
    clap_plugin_descriptor_t descriptor{};
    host::HostCallbacks callbacks;
    TessellaDuckwork& plug = *MakePlug({.descriptor = &descriptor, .host = callbacks.record()});
    host::Instance instance{callbacks, plug.clapPlugin()};
    host::AudioBuffers audio{kFrames};

    Subject() {
        demand(instance.init() && instance.activate(48000.0, 1, kFrames) &&
                   instance.startProcessing(),
               "the plug-in starts");
        for (std::uint32_t i = 0; i < kFrames; ++i)
            audio.input().set(i % 2, i, i % 3 == 0 ? 0.5 : -0.25);
    }

    void checkParameters() const {
        for (int index = 0; index < kNumParams; ++index) {
            const iplug::IParam& param = plug.GetParam(index);
            const double value = param.Value(); // NaN fails both comparisons
            demand(value >= param.Spec().min && value <= param.Spec().max, param.Spec().name);
        }
    }

    [[nodiscard]] iplug::IByteChunk save() const {
        iplug::IByteChunk chunk;
        demand(plug.SerializeState(chunk) && chunk.Size() == kWholeChunk, "it saves whole");
        return chunk;
    }

    void checkOutput(std::uint32_t frames) {
        for (std::uint32_t i = 0; i < 2 * frames; ++i)
            demand(std::isfinite(audio.output().get(i % 2, i / 2)), "the output is finite");
    }

    void playBlock() {
        instance.process(audio, kFrames);
        checkOutput(kFrames);
    }
};

} // namespace fuzz
