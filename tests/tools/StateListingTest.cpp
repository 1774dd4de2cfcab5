#include "tests/support/Test.h"
#include "tools/state/Listing.h"

namespace {

struct Case {
    const char* chunk;
    std::size_t bytes; ///< so many of it
    bool loads, whole;
    const char* field; ///< in this row
    int offset;        ///< -1: there is no such row
    const char* value;
    const char* remark; ///< contains this; "" none at all
};

TEST(StateListing, SaysWhereEachFieldIsAndWhatBecomesOfIt) {
    const Case cases[] = {
        {"full", 366, true, true, "instanceName", 0, "\"Kick – „1“\"", ""},
        {"full", 366, true, true, "FreqLow", 234, "250.5 Hz", ""},
        {"full", 0, false, false, "instanceName", 0, "-", "cut off"},
        {"full", 158, false, false, "peerName", 95, "-", "cut off"},
        {"full", 241, false, false, "FreqLow", -1, "", ""},
        {"full", 352, true, false, "trailerTag", 346, "0xA7E2C41D", "cut off"},
        {"twelve-params", 366, true, false, "duckSelf", 346, "on", ""},
        {"no-params", 366, false, false, "trailerTag", 234, "0xA7E2C41D", ""},
        {"trailer-version-2", 366, true, false, "trailerVersion", 350, "2", ""},
        {"shadow-count-7", 366, true, false, "FreqLow", 163, "2.81475e+14 Hz", "becomes 2000 Hz"},
        {"not-finite", 366, true, false, "FreqLow", 234, "nan Hz", "present value stays"},
        {"not-finite", 366, true, false, "LinkSlot", 322, "2.6", "becomes 3"},
        {"duck-flag-5", 366, true, false, "duckSelf", 362, "5", "ignored"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.chunk) + " " + std::to_string(row.bytes) + " " + row.field);
        iplug::IByteChunk chunk;
        const support::Bytes file = support::chunkFile(row.chunk);
        chunk.PutBytes(file.data(), std::min(row.bytes, file.size()));
        const listing::Listing listing = listing::list(chunk);
        EXPECT_EQ(listing::loads(listing), row.loads);
        EXPECT_EQ(listing::isWhole(listing), row.whole);
        const auto field = std::ranges::find(listing.fields, row.field, &listing::Field::name);
        ASSERT_EQ(field != listing.fields.end(), row.offset >= 0);
        if (row.offset < 0)
            continue;
        EXPECT_EQ(field->offset, row.offset);
        EXPECT_EQ(field->value, row.value);
        EXPECT_NE(field->remark.find(row.remark), std::string::npos) << field->remark;
        EXPECT_EQ(field->remark.empty(), std::string(row.remark).empty());
    }
}

} // namespace
