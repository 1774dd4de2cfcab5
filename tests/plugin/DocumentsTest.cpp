// What the documents state as numbers is what the code does: layouts, ranges, limits.
#include "dsp/SpectralProcessor.h"
#include "plugin/Config.h"
#include "plugin/StateChunk.h"
#include "shm/SegmentLayout.h"
#include "tests/support/Test.h"

namespace {

/// The cells that a row of a table begins with, and another one further on.
struct Row {
    std::string begin, also{};
};

/// As the documents write it: 200, 0.1.
std::string number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// `| first | second |`, an empty cell with one blank.
std::string cells(const std::vector<std::string>& texts) {
    std::string row;
    for (const std::string& text : texts)
        row += text.empty() ? "| " : "| " + text + " ";
    return row + "|";
}

Row placed(std::size_t offset, std::size_t bytes, const std::string& name) {
    return {cells({number(double(offset)), number(double(bytes))}), cells({name})};
}

/// The document's tables with this heading have these rows, all together.
void expectRows(const std::string& document, const std::string& heading,
                const std::vector<Row>& expected) {
    std::ifstream file(TD_DOCUMENTS "/" + document);
    std::vector<std::string> rows;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        const bool isHeading = line.starts_with(heading);
        inside = isHeading || (inside && line.starts_with('|'));
        if (inside && !isHeading && !line.starts_with("|-"))
            rows.push_back(line);
    }
    ASSERT_EQ(rows.size(), expected.size()) << document << ", " << heading;
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_TRUE(rows[i].starts_with(expected[i].begin) &&
                    rows[i].find(expected[i].also) != std::string::npos)
            << rows[i] << "\nis, by the code,\n"
            << expected[i].begin << " ... " << expected[i].also;
}

#define PLACED(Record, field) placed(offsetof(Record, field), sizeof(Record::field), "`" #field "`")
#define IN_SEGMENT(field) PLACED(shm::RegistrySegment, field)
#define IN_SLOT(field) PLACED(shm::RegistrySlot, field)
#define IN_BAND(field) PLACED(TDBand, field)

TEST(Documents, GiveTheLayoutOfTheRegistry) {
    // clang-format off
    expectRows("registry.md", "| Offset | Bytes |", {
        IN_SEGMENT(version), IN_SEGMENT(mutex), IN_SEGMENT(slotHighWater), IN_SEGMENT(slots),
        IN_SEGMENT(magic),
        IN_SLOT(instanceId), IN_SLOT(remoteId), IN_SLOT(displayName), IN_SLOT(active),
        IN_SLOT(latencySamples), IN_SLOT(heartbeat), IN_SLOT(state), IN_SLOT(gainReduction),
        IN_SLOT(bandCount), IN_SLOT(bandsSeq), IN_SLOT(bands), IN_SLOT(hpHz), IN_SLOT(lpHz),
        IN_SLOT(hpLpSeq), IN_SLOT(controls), IN_SLOT(controlsSeq), IN_SLOT(bypass),
        IN_SLOT(duckSelf), IN_SLOT(audioBinsSeq), IN_SLOT(displayBins), IN_SLOT(audioBins),
        IN_BAND(loHz), IN_BAND(hiHz), IN_BAND(threshDb), IN_BAND(ratio), IN_BAND(enabled)});
    // clang-format on
}

TEST(Documents, GiveTheLayoutOfTheState) {
    std::vector<Row> expected;
    state::Record record;
    std::size_t offset = 0;
    const auto add = [&](const std::string& name, std::size_t bytes) {
        expected.push_back(placed(offset, bytes, name));
        offset += bytes;
    };
    state::visitRecord(record, [&](const char* name, const auto&... values) {
        add("`" + std::string(name) + "`", (sizeof values + ...));
        return true;
    });
    add("parameters", sizeof(state::ParamValues));
    for (const char* name : {"tag", "version", "editor width", "editor height", "duck flag"})
        add(name, sizeof(std::uint32_t));
    expectRows("state.md", "| Offset | Bytes |", expected);
    iplug::IByteChunk chunk;
    state::write(chunk, {}, {});
    EXPECT_EQ(static_cast<std::size_t>(chunk.Size()), offset);
}

TEST(Documents, GiveTheRangesOfTheParameters) {
    std::vector<Row> expected;
    for (const iplug::ParamSpec& spec : kParamTable)
        expected.push_back(
            {cells({std::to_string(expected.size()), "`" + std::string(spec.name) + "`", spec.label,
                    number(spec.defaultValue), number(spec.min), number(spec.max)})});
    expectRows("state.md", "| Index |", expected);
}

TEST(Documents, GiveTheUserTheRangesOfTheSettings) {
    const auto range = [](std::size_t param, const std::string& unit = "") {
        const iplug::ParamSpec& spec = kParamTable[param];
        return number(spec.min) + " to " + number(spec.max) + unit;
    };
    const auto standard = [](std::size_t param) { return number(kParamTable[param].defaultValue); };
    expectRows("manual.md", "| Setting |",
               {{cells({"Threshold", range(ThreshLow, " dB, one each band"),
                        standard(ThreshLow) + " dB"})},
                {cells({"Ratio", range(RatioLow, ", one each band"), standard(RatioLow)})},
                {cells({"Band edges"}),
                 "`FreqLow` (" + range(FreqLow, " Hz) and `FreqHigh` (") + range(FreqHigh, " Hz")},
                {cells({"HP, LP", range(HP, " Hz, ") + range(LP, " Hz"),
                        standard(HP) + ", " + standard(LP) + " Hz"})},
                {cells({"Attack", range(Attack, " ms"), standard(Attack) + " ms"})},
                {cells({"Release", range(Release, " ms"), standard(Release) + " ms"})},
                {cells({"Make-up", range(Makeup, " dB"), standard(Makeup) + " dB"})}});
}

TEST(Documents, GiveTheDelays) {
    const auto processor = std::make_unique<dsp::SpectralProcessor>();
    std::vector<Row> expected;
    for (const auto& [rate, other] : {std::pair{44100, 48000}, {88200, 96000}, {176400, 192000}}) {
        const std::uint32_t size = processor->reset(rate);
        EXPECT_EQ(processor->reset(other), size) << other;
        expected.push_back(
            {cells({std::to_string(rate) + ", " + std::to_string(other), std::to_string(size),
                    std::to_string(2 * size), std::to_string(kConfig.latencySamples)})});
    }
    expectRows("manual.md", "| Sample rate, Hz |", expected);
}

} // namespace
