#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

namespace {

/// The ends of the fields as documented; each begins where the one before it ends. A chunk that is
/// cut inside a field lacks it.
std::vector<std::size_t> documentedEnds() {
    std::vector<std::size_t> ends = {64,  68,  92,  95,  159, 163, 187, 199,
                                     211, 214, 218, 222, 226, 230, 234};
    for (std::size_t param = 1; param <= 14; ++param)
        ends.push_back(234 + 8 * param);
    ends.insert(ends.end(), {354, 362, 366}); // tag and version, both sizes, flag
    return ends;
}

TEST(StateChunk, CutAnywhereGivesTheFieldsThatFit) {
    const Bytes before = chunkFile("before"), full = chunkFile("full");
    const auto ends = documentedEnds();
    Plugged side;
    for (std::size_t length = 0; length <= full.size(); ++length) {
        ASSERT_EQ(side.load(before), 366);
        const auto next = std::ranges::upper_bound(ends, length);
        const std::size_t end = next == ends.begin() ? 0 : next[-1];
        Bytes expected = before;
        std::copy_n(full.begin(), end, expected.begin());
        if (length < 68) // no band count
            support::put(expected, support::kCountAt, std::int32_t{1});
        const int result = end < 242 ? -1 : static_cast<int>(end); // 242: behind one parameter
        ASSERT_EQ(side.load({full.begin(), full.begin() + std::ptrdiff_t(length)}), result)
            << length;
        ASSERT_EQ(side.saved(), expected) << "cut to " << length;
    }
    Bytes ahead(5);
    ahead.insert(ahead.end(), full.begin(), full.end());
    iplug::IByteChunk shifted;
    shifted.PutBytes(ahead.data(), ahead.size());
    for (const auto& [start, result] : {std::pair{-1, -1}, {INT_MAX, -1}, {5, 371}})
        EXPECT_EQ(side.plug.UnserializeState(shifted, start), result) << start;
    EXPECT_EQ(side.saved(), full);
}

} // namespace
