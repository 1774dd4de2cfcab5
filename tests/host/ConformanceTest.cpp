// What the strictest validators ask of any plug-in, beyond what the other tests of this folder say
// of this one.
#include "host/AudioBuffers.h"
#include "host/Extensions.h"
#include "tests/host/Track.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <set>
#include <string>

namespace {

using host::Callback;
using host::SampleFormat;
using support::Stereo;
using support::Track;

constexpr double kRate = 48000.0;

/// The same numbers in every run.
class Dice {
public:
    explicit Dice(unsigned seed) : generator(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(generator()) % n; }
    bool oneIn(unsigned n) { return below(n) == 0; }
    double between(double low, double high) {
        return low + (high - low) * below(1 << 24) / (1 << 24);
    }

private:
    std::mt19937 generator;
};

TEST(Conformance, AScanIsQuick) {
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    Milliseconds scan{}, destruction{};
    for (int round = 0; round < 5; ++round) {
        const auto start = Clock::now();
        auto end = start;
        {
            const host::Library library(TD_PLUGIN_PATH);
            ASSERT_NE(library.descriptor(), nullptr);
            host::HostCallbacks callbacks;
            callbacks.withholdAll();
            host::Instance instance(library, callbacks);
            ASSERT_TRUE(instance.init());
            end = Clock::now();
        }
        scan = std::max(scan, Milliseconds(end - start));
        destruction = std::max(destruction, Milliseconds(Clock::now() - end));
    }
    std::printf("load to init at most %.1f ms, destroy and unload %.1f ms\n", scan.count(),
                destruction.count());
    // Hosts want 100 ms; the rest is for a machine under load.
    EXPECT_LT(scan.count(), 1000.0);
    EXPECT_LT(destruction.count(), 1000.0) << "a tick of the heartbeat is 100 ms";
}

TEST(Conformance, AnInstanceIsWhatTheFactoryDescribes) {
    const auto library = support::plugin();
    const auto textsOf = [](const clap_plugin_descriptor_t& desc) {
        std::vector<std::string> texts{desc.id,      desc.name,       desc.vendor,
                                       desc.url,     desc.manual_url, desc.support_url,
                                       desc.version, desc.description};
        for (const char* const* feature = desc.features; *feature != nullptr; ++feature)
            texts.emplace_back(*feature);
        return texts;
    };
    const Track track;
    const auto texts = textsOf(*library->descriptor());
    EXPECT_EQ(textsOf(*track.instance.plugin()->desc), texts);
    const std::vector<std::string> features(texts.begin() + 8, texts.end());
    const std::set<std::string> different(features.begin(), features.end());
    EXPECT_EQ(different.size(), features.size());
    EXPECT_EQ(different.count(CLAP_PLUGIN_FEATURE_AUDIO_EFFECT), 1U);
}

/// A value for every parameter, as a host gives them: anywhere, and now and then at an end.
void addAnyValues(Track& track, Dice dice) {
    for (const auto& info : track.params.infos()) {
        const double end = dice.oneIn(2) ? info.min_value : info.max_value;
        const double inside = dice.between(info.min_value, info.max_value);
        track.events.addParamValue(info.id, dice.oneIn(8) ? end : inside, dice.below(64));
    }
}

std::vector<double> valuesOf(const Track& track) {
    std::vector<double> values;
    for (clap_id id = 0; id < kNumParams; ++id)
        values.push_back(track.hostValue(id));
    return values;
}

TEST(Conformance, RandomSettingsComeBackInAnyInstance) {
    Track processing, flushed, running;
    const Stereo in = support::noise(16384, 0.9, 4);
    processing.start(kRate);
    running.start(kRate);
    for (unsigned round = 0; round < 25 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        Dice dice(round);
        addAnyValues(processing, dice);
        addAnyValues(flushed, dice);
        Stereo out;
        processing.block(in, 0, 64, out);
        flushed.params.flush(flushed.events, flushed.sent);
        flushed.events.clear();
        const auto values = valuesOf(processing);
        EXPECT_EQ(valuesOf(flushed), values) << "process and flush differ";

        const auto state = host::saveState(processing.instance).value();
        Track fresh;
        for (Track* other : {&fresh, &running}) {
            ASSERT_TRUE(host::loadState(other->instance, state, {.pieceSize = 1 + dice.below(50)}));
            for (std::size_t id = 0; id < kNumParams; ++id)
                EXPECT_NEAR(valuesOf(*other)[id], values[id], 1e-9) << id;
            EXPECT_EQ(host::saveState(other->instance), state);
            other->start(kRate);
        }
        processing.start(kRate);
        const Stereo expected = processing.play(in, 512);
        for (Track* other : {&fresh, &running})
            EXPECT_EQ(other->play(in, 512).left, expected.left) << "it sounds different";
        running.block(in, 0, 100 + dice.below(1000), out);
    }
}

struct BlockCase {
    SampleFormat format;
    bool inPlace, sidechain;
};

class ConformanceOfBlocks : public testing::TestWithParam<BlockCase> {};

INSTANTIATE_TEST_SUITE_P(buffers, ConformanceOfBlocks,
                         testing::Values(BlockCase{SampleFormat::Float64, false, false},
                                         BlockCase{SampleFormat::Float64, true, true},
                                         BlockCase{SampleFormat::Float32, false, true},
                                         BlockCase{SampleFormat::Float32, true, false}));

TEST_P(ConformanceOfBlocks, WritesItsSamplesAndNothingElse) {
    constexpr double kGuard = 1234.5;
    constexpr std::uint32_t kMost = 1024, kBehind = 32;
    const auto [format, inPlace, sidechain] = GetParam();
    Track track;
    ASSERT_TRUE(host::selectAudioPortConfig(track.instance, sidechain ? 1 : 0));
    for (const auto& port : host::audioPorts(track.instance, true))
        EXPECT_TRUE((port.flags & CLAP_AUDIO_PORT_SUPPORTS_64BITS) != 0) << port.name;
    host::AudioBuffers audio(host::portSpecs(track.instance, true, format),
                             host::portSpecs(track.instance, false, format), kMost + kBehind);
    if (inPlace)
        audio.makeInPlace();
    track.start(kRate, {.maxFrames = kMost});
    Dice dice(6);
    // Loud, silent and subnormal stretches, so that the delay line's end fades.
    constexpr double kLevels[] = {1.0, 0.0, 1e-4, 1e-41, 1e-310};
    for (int block = 0; block < 300; ++block) {
        const std::uint32_t frames = dice.below(kMost + 1);
        const double level = kLevels[block / 10 % 5];
        std::vector<double> in(kMost + kBehind, kGuard);
        std::generate_n(in.begin(), frames, [&] { return float(dice.between(-level, level)); });
        audio.output().fill(kGuard);
        for (std::uint32_t port = 0; port < audio.inputRecords().size(); ++port)
            for (std::uint32_t i = 0; i < 2 * in.size(); ++i)
                audio.input(port).set(i % 2, i / 2, in[i / 2]);
        if (dice.oneIn(40))
            track.instance.reset();
        EXPECT_EQ(track.instance.process(audio, frames), CLAP_PROCESS_CONTINUE);
        for (std::uint32_t i = 0; i < 2 * in.size(); ++i) {
            const double sample = audio.output().get(i % 2, i / 2);
            const bool sound = sample == 0.0 || std::abs(sample) >= double{FLT_MIN};
            const bool written = sound && std::abs(sample) < 10.0;
            ASSERT_TRUE(i / 2 < frames ? written : sample == kGuard)
                << sample << " at " << i / 2 << " of " << frames << ", block " << block;
            ASSERT_TRUE(inPlace || audio.input().get(i % 2, i / 2) == in[i / 2]) << i / 2;
        }
    }
}

/// Where a host wants to be called.
bool isOnItsThread(const host::CallRecord& call) {
    switch (call.callback) {
    case Callback::TailChanged:
        return call.fromAudio;
    case Callback::ParamsRequestFlush:
        return !call.fromAudio;
    case Callback::ParamsRescan:
    case Callback::ParamsClear:
    case Callback::StateMarkDirty:
    case Callback::LatencyChanged:
    case Callback::AudioPortsRescan:
    case Callback::TimerRegister:
    case Callback::FdRegister:
        return call.fromMain;
    default:
        return true; // from any thread
    }
}

/// Plays a block with any events and nonsense for a time; demands what a host relies on.
void playAnything(host::Instance& instance, host::AudioBuffers& audio, Dice& dice) {
    host::EventList in, sent;
    for (unsigned time = 0; dice.below(4) > 0; time += dice.below(8))
        in.addParamValue(dice.below(kNumParams + 1), dice.between(-0.5, 4.5), time);
    clap_event_transport_t transport;
    std::memset(&transport, 0xFF, sizeof transport);
    const auto frames = 1 + dice.below(audio.input().maxFrames());
    for (std::uint32_t i = 0; i < frames; ++i)
        audio.input().set(i % 2, i, dice.between(-1, 1));
    EXPECT_EQ(instance.process(audio, frames, in, sent, {.transport = &transport}),
              CLAP_PROCESS_CONTINUE);
    for (std::uint32_t i = 0; i < frames; ++i)
        ASSERT_TRUE(std::isfinite(audio.output().get(i % 2, i)));
    for (std::uint32_t i = 0, time = 0; i < sent.size(); time = sent.at(i++)->time)
        EXPECT_TRUE(sent.at(i)->time < frames && sent.at(i)->time >= time);
}

/// One step of a session: whatever the interface allows in the instance's present condition.
void anyStep(host::Instance& instance, host::AudioBuffers& audio, Dice& dice,
             shm::RegistryMonitor& registry, std::vector<std::uint8_t>& state) {
    host::EventList in, sent;
    bool refused = false;
    switch (dice.below(10)) {
    case 0:
        instance.deactivate();
        (void)host::selectAudioPortConfig(instance, dice.below(3));
        break;
    case 1:
        refused = !instance.isActive() && !instance.activate(dice.between(8e3, 2e5), 1, 500);
        break;
    case 2:
        refused = instance.isActive() && !instance.isProcessing() && !instance.startProcessing();
        break;
    case 3:
        dice.oneIn(2) ? instance.stopProcessing() : instance.reset();
        break;
    case 4:
        if (state.empty() || dice.oneIn(2))
            state = host::saveState(instance, {.pieceSize = 23}).value();
        else
            refused = !host::loadState(instance, state, {.pieceSize = 17});
        break;
    case 5:
        in.addParamValue(dice.below(kNumParams), dice.between(0, 1));
        refused = !host::Params(instance).flush(in, sent);
        instance.pumpMainThread();
        break;
    case 6:
        for (const shm::SlotSnapshot& slot : support::activeSlots()) // edits by peers
            registry.WriteControlsOf(slot.id, float(dice.between(0, 400)), 99.0F, NAN);
        break;
    default:
        if (instance.isProcessing())
            playAnything(instance, audio, dice);
    }
    EXPECT_FALSE(refused);
}

TEST(Conformance, AnySessionOfAnyHostGoesWell) {
    constexpr const char* kExtensions[] = {
        CLAP_EXT_LOG,   CLAP_EXT_THREAD_CHECK, CLAP_EXT_PARAMS,
        CLAP_EXT_STATE, CLAP_EXT_LATENCY,      CLAP_EXT_TAIL,
        CLAP_EXT_GUI,   CLAP_EXT_AUDIO_PORTS,  CLAP_EXT_TIMER_SUPPORT};
    struct Guest {
        host::HostCallbacks callbacks;
        std::optional<host::Instance> instance;
        host::AudioBuffers audio{777};
    };
    Dice dice(8);
    const auto library = support::plugin();
    for (int session = 0; session < 12 && !testing::Test::HasFailure(); ++session) {
        SCOPED_TRACE(session);
        std::vector<std::uint8_t> state;
        std::array<Guest, 3> guests;
        for (auto& [callbacks, instance, audio] : guests) {
            for (const char* id : kExtensions)
                if (const unsigned luck = dice.below(20); luck < 2)
                    luck == 0 ? callbacks.withhold(id) : callbacks.offerPartial(id);
            instance.emplace(*library, callbacks);
            ASSERT_TRUE(instance->init());
        }
        shm::RegistryMonitor registry;
        ASSERT_TRUE(registry.Attach());
        for (int step = 0; step < 300 && !testing::Test::HasFatalFailure(); ++step) {
            Guest& guest = guests[dice.below(guests.size())];
            anyStep(*guest.instance, guest.audio, dice, registry, state);
        }
        for (const Guest& guest : guests) {
            for (clap_id id = 0; id < kNumParams; ++id) {
                const host::Params params(*guest.instance);
                const auto info = params.info(id).value();
                const double value = params.value(id).value();
                EXPECT_TRUE(value >= info.min_value && value <= info.max_value) << info.name;
            }
            for (const auto& call : guest.callbacks.calls().records())
                EXPECT_TRUE(isOnItsThread(call)) << "callback " << int(call.callback);
        }
    }
}

} // namespace
