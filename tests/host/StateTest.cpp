#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

constexpr double kRate = 48000.0;

Bytes saved(const Track& track) { return host::saveState(track.instance).value_or(Bytes{}); }

std::vector<double> edgesOf(const shm::SlotSnapshot& slot) {
    std::vector<double> edges;
    for (int band = 0; band < slot.bandCount; ++band)
        edges.insert(edges.end(), {slot.bands[band].loHz, slot.bands[band].hiHz});
    return edges;
}

struct Golden {
    const char* chunk; ///< NAME.chunk is loaded, NAME.saved.chunk comes back
    bool loads;
    std::vector<double> edges; ///< published then
};

const std::vector<double> kBefore = {25, 600, 600, 17000};
const std::vector<double> kFull = {20, 250, 250, 4000, 4000, 18000};

const Golden kGolden[] = {
    {"full", true, kFull},
    {"twelve-params", true, kFull},
    {"no-params", false, kBefore},
    {"size-without-trailer", true, kFull},
    {"trailer-version-0", true, kFull},
    {"trailer-version-2", true, kFull},
    {"shadow-count-7", true, kFull},
    {"shadow-count-negative", true, kFull},
    {"size-out-of-range", true, kFull},
    {"duck-flag-5", true, kFull},
    {"odd-flags", true, kFull},
    {"endless-names", true, kFull},
    {"no-names", true, kFull},
    {"odd-count", true, {20, 250, 250, 4000}},
    // Edges that make no bands give way to the splits among the parameters.
    {"useless-edges", true, {20, 250.5, 250.5, 4000.25, 4000.25, 20000}},
    {"not-finite", true, {20, 600, 600, 20000, 20000, 20000}},
};

TEST(State, OfEveryAgeIsTakenAsDocumented) {
    for (const auto& [name, loads, edges] : kGolden) {
        SCOPED_TRACE(name);
        Track track;
        ASSERT_TRUE(host::loadState(track.instance, chunkFile("before")));
        auto& calls = track.instance.callbacks().calls();
        calls.clear();
        EXPECT_EQ(host::loadState(track.instance, chunkFile(name)), loads);
        EXPECT_EQ(edgesOf(track.slot()), edges);
        const auto rescans = calls.records(Callback::ParamsRescan);
        ASSERT_EQ(rescans.size(), loads ? 1U : 0U);
        for (const auto& rescan : rescans)
            EXPECT_TRUE(rescan.fromMain && rescan.value == CLAP_PARAM_RESCAN_VALUES);
        EXPECT_EQ(saved(track), chunkFile(name + std::string(".saved")));
    }
}

TEST(State, ComesThroughStreamsOfAnyKind) {
    const std::tuple<const char*, host::StreamLimits, bool> cases[] = {
        {"a byte at a time", {.pieceSize = 1}, true},
        {"23 bytes at a time", {.pieceSize = 23}, true},
        {"an error at once", {.errorAfter = 0}, false},
        {"an error near the end", {.pieceSize = 100, .errorAfter = 365}, false},
        {"a large error code", {.errorAfter = 10, .error = INT64_MIN}, false}};
    const Bytes before = chunkFile("before");
    const Bytes full = chunkFile("full");
    Track track;
    for (const auto& [why, limits, works] : cases) {
        ASSERT_TRUE(host::loadState(track.instance, before));
        EXPECT_EQ(host::loadState(track.instance, full, limits), works) << why;
        const Bytes& expected = works ? full : before;
        EXPECT_EQ(saved(track), expected) << "nothing is taken from half a stream: " << why;
        const auto written = host::saveState(track.instance, limits);
        EXPECT_TRUE(written.has_value() == works && written.value_or(expected) == expected) << why;
    }
    EXPECT_FALSE(host::saveState(track.instance, {.errorAfter = 200, .error = 0}).has_value());
    EXPECT_FALSE(host::loadState(track.instance, {}));
    const auto* state = track.instance.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    EXPECT_FALSE(state->load(track.instance.plugin(), nullptr) ||
                 state->save(track.instance.plugin(), nullptr));
}

TEST(State, LoadedWhileBlocksRunLosesNoParameter) {
    // Blocks of one frame, so that loads and blocks meet where it hurts. One band implies FreqLow
    // 20 and ThreshMid = ThreshLow; the saved parameters differ.
    Bytes chunks[] = {chunkFile("before"), chunkFile("full")};
    for (Bytes& chunk : chunks)
        support::put(chunk, support::kCountAt, std::int32_t{1});
    Track track;
    track.start(kRate);
    std::atomic<int> blocks = 0;
    std::jthread audio([&](const std::stop_token& stop) {
        host::AudioBuffers buffers(1);
        for (; !stop.stop_requested(); ++blocks)
            track.instance.process(buffers, 1);
    });
    for (int load = 0; load < 600 && !HasFailure(); ++load) {
        const Bytes& chunk = chunks[load % 2];
        ASSERT_TRUE(host::loadState(track.instance, chunk));
        for (const int later : {0, 3}) {
            for (const int from = blocks; blocks < from + later;)
                std::this_thread::yield();
            for (clap_id id = 0; id < kNumParams; ++id)
                EXPECT_NEAR(track.hostValue(id), track.toHost(id, support::paramIn(chunk, id)),
                            1e-6)
                    << "load " << load << ", " << later << " blocks later, parameter " << id;
        }
        ASSERT_EQ(saved(track), chunk) << load;
    }
}

} // namespace
