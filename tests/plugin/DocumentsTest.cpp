// What the documents state as numbers is what the code does: layouts and ranges.
#include "plugin/StateChunk.h"
#include "shm/SegmentLayout.h"
#include "tests/support/Test.h"

namespace {

/// Numbers as the documents write them: 200, 0.1.
template <class... Parts>
std::string text(const Parts&... parts) {
    std::ostringstream all;
    (all << ... << parts);
    return all.str();
}

/// In one line, which begins so.
void expectLine(const char* document, const std::string& begin, const std::string& also = "") {
    std::ifstream file(text(TD_DOCUMENTS "/", document));
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(begin) && line.find(also) != std::string::npos)
            return;
    ADD_FAILURE() << document << " lacks " << begin << " ... " << also;
}

TEST(Documents, GiveTheLayoutOfTheRegistry) {
#define PLACED(Record, field)                                                                      \
    { #field, offsetof(Record, field), sizeof(Record::field) }
#define IN_SEGMENT(field) PLACED(shm::RegistrySegment, field)
#define IN_SLOT(field) PLACED(shm::RegistrySlot, field)
#define IN_BAND(field) PLACED(TDBand, field)
    // clang-format off
    const std::tuple<const char*, std::size_t, std::size_t> fields[] = {
        IN_SEGMENT(version), IN_SEGMENT(mutex), IN_SEGMENT(slotHighWater), IN_SEGMENT(slots),
        IN_SEGMENT(magic),
        IN_SLOT(instanceId), IN_SLOT(remoteId), IN_SLOT(displayName), IN_SLOT(active),
        IN_SLOT(latencySamples), IN_SLOT(heartbeat), IN_SLOT(state), IN_SLOT(gainReduction),
        IN_SLOT(bandCount), IN_SLOT(bandsSeq), IN_SLOT(bands), IN_SLOT(hpHz), IN_SLOT(lpHz),
        IN_SLOT(hpLpSeq), IN_SLOT(controls), IN_SLOT(controlsSeq), IN_SLOT(bypass),
        IN_SLOT(duckSelf), IN_SLOT(audioBinsSeq), IN_SLOT(displayBins), IN_SLOT(audioBins),
        IN_BAND(loHz), IN_BAND(hiHz), IN_BAND(threshDb), IN_BAND(ratio), IN_BAND(enabled)};
    // clang-format on
    for (const auto& [name, offset, bytes] : fields)
        expectLine("registry.md", text("| ", offset, " | ", bytes, " | `", name, "` |"));
}

TEST(Documents, GiveTheLayoutOfTheState) {
    state::Record record;
    std::size_t offset = 0;
    const auto expect = [&](const std::string& name, std::size_t bytes) {
        expectLine("state.md", text("| ", offset, " | ", bytes, " | "), text(" | ", name, " |"));
        offset += bytes;
    };
    state::visitRecord(record, [&](const char* name, const auto&... values) {
        expect(text('`', name, '`'), (sizeof values + ...));
        return true;
    });
    expect("parameters", sizeof(state::ParamValues));
    for (const char* name : {"tag", "version", "editor width", "editor height", "duck flag"})
        expect(name, sizeof(std::uint32_t));
    iplug::IByteChunk chunk;
    state::write(chunk, {}, {});
    EXPECT_EQ(static_cast<std::size_t>(chunk.Size()), offset);
}

TEST(Documents, GiveTheRangesOfTheParameters) {
    int index = 0;
    for (const iplug::ParamSpec& spec : kParamTable) {
        expectLine("state.md", text("| ", index++, " | `", spec.name, "` | ", spec.label,
                                    *spec.label != 0 ? " " : "", "| ", spec.defaultValue, " | ",
                                    spec.min, " | ", spec.max, " |"));
        if (index - 1 != LinkSlot)
            expectLine("manual.md", "| ", text(spec.min, " to ", spec.max));
    }
}

} // namespace
