#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

struct Row {
    const char* name;
    double min, max, defaultValue;
    const char* defaultText;
};

// In index order; a saved project depends on every number.
const Row kRows[] = {
    {"FreqLow", 20, 2000, 200, "200 Hz"},    {"FreqHigh", 500, 20000, 5000, "5000 Hz"},
    {"ThreshLow", -60, 0, -20, "-20.0 dB"},  {"ThreshMid", -60, 0, -20, "-20.0 dB"},
    {"ThreshHigh", -60, 0, -20, "-20.0 dB"}, {"RatioLow", 1, 20, 4, "4.0 :1"},
    {"RatioMid", 1, 20, 4, "4.0 :1"},        {"RatioHigh", 1, 20, 4, "4.0 :1"},
    {"Attack", 0.1, 300, 10, "10.0 ms"},     {"Release", 5, 2000, 100, "100 ms"},
    {"Makeup", -12, 24, 0, "0.0 dB"},        {"LinkSlot", 0, 4, 0, "0"},
    {"HP", 20, 1000, 20, "20 Hz"},           {"LP", 1000, 20000, 20000, "20000 Hz"},
};

TEST(Parameters, LookToTheHostAsDocumented) {
    Track track;
    const auto infos = track.params.infos();
    ASSERT_EQ(infos.size(), std::size(kRows));
    for (clap_id id = 0; id < infos.size(); ++id) {
        const auto& [name, min, max, defaultValue, defaultText] = kRows[id];
        const clap_param_info_t& info = infos[id];
        const bool stepped = id == LinkSlot;
        EXPECT_TRUE(info.id == id && info.cookie == nullptr && std::string(info.module).empty());
        EXPECT_STREQ(info.name, name);
        EXPECT_EQ(info.flags, CLAP_PARAM_IS_AUTOMATABLE | CLAP_PARAM_REQUIRES_PROCESS |
                                  (stepped ? unsigned{CLAP_PARAM_IS_STEPPED} : 0U));
        EXPECT_TRUE(info.min_value == 0.0 && info.max_value == (stepped ? 4.0 : 1.0));
        EXPECT_DOUBLE_EQ(info.default_value, (defaultValue - min) / (max - min)) << name;
        EXPECT_EQ(track.hostValue(id), info.default_value);
        EXPECT_EQ(track.params.toText(id, info.default_value), defaultText);
    }
    EXPECT_FALSE(track.params.value(kNumParams) || track.params.toText(kNumParams, 0.0));
}

TEST(Parameters, TextAndValueAgreeBothWays) {
    Track track;
    for (const auto& info : track.params.infos())
        for (int step = 0; step <= 1000; ++step) {
            const double value = info.min_value + (info.max_value - info.min_value) * step / 1000;
            const auto text = track.params.toText(info.id, value).value();
            const double read = track.params.fromText(info.id, text).value();
            ASSERT_EQ(track.params.toText(info.id, read), text) << info.name;
            ASSERT_FALSE(text.starts_with("-0.0")) << info.name;
            // Texts are right to half a digit.
            const double digit = text.find('.') != std::string::npos ? 0.1 : 1.0;
            const Row& row = kRows[info.id];
            const double perUnit = (info.max_value - info.min_value) / (row.max - row.min);
            ASSERT_NEAR(read, value, 0.5000001 * digit * perUnit) << info.name << text;
        }
}

TEST(Parameters, ReadTextAsPeopleWriteIt) {
    Track track;
    const std::tuple<const char*, clap_id, const char*, double> cases[] = {
        {"clamped above", ThreshLow, "12 dB", 0.0},
        {"clamped below", ThreshLow, "-1e300", -60.0},
        {"too large for a number", FreqLow, "1e999", 2000.0},
        {"too small for a number", ThreshLow, "-1e999", -60.0},
        {"no number is 0, then clamped", FreqLow, "Hz", 20.0},
        {"not a number is no number", FreqHigh, "nan", 500.0},
        {"blanks and sign", Attack, "  +12.5ms", 12.5},
        {"stepped rounds", LinkSlot, "2.6", 3.0},
        {"empty", LP, "", 1000.0},
    };
    for (const auto& [why, id, text, plain] : cases)
        EXPECT_DOUBLE_EQ(track.params.fromText(id, text).value(), track.toHost(id, plain)) << why;
    EXPECT_EQ(track.params.toText(Release, track.toHost(Release, 99.6)), "100 ms");
    EXPECT_EQ(track.params.toText(FreqLow, track.toHost(FreqLow, 200.0), 7), "200 Hz");
    EXPECT_FALSE(track.params.toText(FreqLow, track.toHost(FreqLow, 200.0), 6)) << "no room";
    EXPECT_FALSE(track.params.toText(FreqLow, std::nan(""))) << "no value has that text";
}

TEST(ParameterEvents, SetWhatTheySayAndNothingElse) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kBefore = 0.125; // an earlier event of the block; LinkSlot rounds it to 0
    struct Event {
        clap_event_param_value_t value;
        std::array<std::uint64_t, 8> more; ///< what a later version of the interface may add
    };
    using E = Event&;
    const struct {
        const char* what;
        clap_id id;
        double value, expected;
        void (*spoil)(E event) = [](E) {};
    } cases[] = {
        {"normalised", FreqLow, 0.5, 0.5},
        {"stepped rounds", LinkSlot, 2.6, 3.0},
        {"stepped clamps", LinkSlot, 9.0, 4.0},
        {"above the range", Attack, 7.0, 1.0},
        {"below the range", Attack, -7.0, 0.0},
        {"infinity clamps", Release, kInf, 1.0},
        {"minus infinity clamps", LP, -kInf, 0.0},
        {"NaN is ignored", Release, NAN, kBefore},
        // Odd, but good:
        {"end of time", HP, 0.75, 0.75, [](E e) { e.value.header.time = UINT32_MAX; }},
        {"earlier than the last", HP, 0.75, 0.75, [](E e) { e.value.header.time = 1; }},
        {"unknown flags", HP, 0.75, 0.75, [](E e) { e.value.header.flags = ~0U; }},
        {"later version", HP, 0.75, 0.75, [](E e) { e.value.header.size = sizeof(Event); }},
        {"wild cookie", HP, 0.75, 0.75, [](E e) { e.value.cookie = reinterpret_cast<void*>(8); }},
        {"note and port", HP, 0.75, 0.75, [](E e) { e.value.note_id = e.value.port_index = 0; }},
        // Not for us:
        {"a byte short", HP, 0.75, kBefore, [](E e) { --e.value.header.size; }},
        {"of no kind", HP, 0.75, kBefore, [](E e) { e.value.header.type = UINT16_MAX; }},
        {"modulation", HP, 0.75, kBefore, [](E e) { e.value.header.type = CLAP_EVENT_PARAM_MOD; }},
        {"foreign space", HP, 0.75, kBefore, [](E e) { e.value.header.space_id = 0xb33f; }},
        {"one parameter on", HP, 0.75, kBefore, [](E e) { e.value.param_id = kNumParams; }},
        {"for no parameter", HP, 0.75, kBefore, [](E e) { e.value.param_id = CLAP_INVALID_ID; }},
    };
    Track playing, stopped;
    playing.start(48000.0);
    for (const auto& c : cases) {
        Event event{};
        event.value.header = {sizeof event.value, 7, CLAP_CORE_EVENT_SPACE_ID,
                              CLAP_EVENT_PARAM_VALUE, 0};
        event.value.param_id = c.id;
        event.value.note_id = event.value.port_index = -1;
        event.value.value = c.value;
        c.spoil(event);
        for (const bool inBlock : {true, false})
            for (Track* const track : {&playing, &stopped}) {
                track->events.addParamValue(c.id, kBefore, 3);
                track->events.add(event.value.header);
                if (inBlock && track == &playing)
                    track->play(support::noise(16, 0.1, 1), 16);
                else
                    track->params.flush(track->events, track->sent);
                track->events.clear();
                EXPECT_DOUBLE_EQ(track->hostValue(c.id), c.expected) << c.what;
                EXPECT_TRUE(track->sent.empty()) << "an echo";
            }
    }
}

} // namespace
