/// Any bytes as a saved state: loaded, saved, loaded again and played. One instance takes them all,
/// one after another, as a host that recalls presets does.
#include "host/AudioBuffers.h"
#include "host/Instance.h"
#include "host/PrivateShm.h"
#include "plugin/TessellaDuckwork.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::uint32_t kFrames = 64;
constexpr int kWholeChunk = 366;

/// Ends the run with a finding.
void demand(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

iplug::IByteChunk saved(TessellaDuckwork& plug) {
    iplug::IByteChunk chunk;
    demand(plug.SerializeState(chunk), "saving succeeds");
    return chunk;
}

/// The instance of the whole run, processing, with a registry slot.
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

    void playBlock() {
        instance.process(audio, kFrames);
        for (std::uint32_t channel = 0; channel < 2; ++channel)
            for (std::uint32_t i = 0; i < kFrames; ++i)
                demand(std::isfinite(audio.output().get(channel, i)), "the output is finite");
    }
};

Subject& subject() {
    static Subject only;
    return only;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    demand(host::enterPrivateShm(), "a private /dev/shm is to be had");
    subject();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    iplug::IByteChunk input;
    input.PutBytes(data, size);
    TessellaDuckwork& plug = subject().plug;
    const int result = plug.UnserializeState(input, 0);
    demand(result == -1 || (result > 0 && result <= input.Size()), "the result is a position");
    subject().checkParameters();

    const iplug::IByteChunk first = saved(plug);
    demand(first.Size() == kWholeChunk, "a saved chunk is whole");
    demand(plug.UnserializeState(first, 0) == kWholeChunk, "a saved chunk loads whole");
    const iplug::IByteChunk second = saved(plug);
    demand(std::equal(first.Data(), first.Data() + first.Size(), second.Data(),
                      second.Data() + second.Size()),
           "saving again gives the same");
    subject().playBlock();
    subject().checkParameters();
    return 0;
}
