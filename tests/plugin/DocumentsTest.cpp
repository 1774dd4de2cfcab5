// What the documents state as numbers is what the code does: layouts, ranges, limits.
#include "dsp/SpectralProcessor.h"
#include "plugin/Config.h"
#include "plugin/StateChunk.h"
#include "shm/SegmentLayout.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Row = std::vector<std::string>;

constexpr double kLowestEdgeHz = 20.0, kHighestEdgeHz = 20000.0; // the editor's axis

/// The cells of the tables of a document whose first cell is a number, without their backquotes.
std::vector<Row> numberedRows(const std::string& name) {
    std::ifstream file(TD_DOCUMENTS "/" + name);
    EXPECT_TRUE(file) << name;
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("| ") || !isdigit(line[2]))
            continue;
        Row& row = rows.emplace_back();
        std::istringstream cells(line.substr(2));
        for (std::string cell; std::getline(cells, cell, '|');) {
            std::erase(cell, '`');
            row.push_back(cell.substr(cell.find_first_not_of(' ') % (cell.size() + 1)));
            row.back().erase(row.back().find_last_not_of(' ') + 1);
        }
    }
    return rows;
}

struct Place {
    std::size_t offset, bytes;
    bool operator==(const Place&) const = default;
};
void PrintTo(const Place& place, std::ostream* out) {
    *out << place.bytes << " bytes at " << place.offset;
}

/// Every field that the document lists, by name; of equal names (bands) the first.
std::map<std::string, Place> placesIn(const std::string& document, std::size_t nameColumn) {
    std::map<std::string, Place> places;
    for (const Row& row : numberedRows(document))
        if (row.size() > nameColumn)
            places.try_emplace(row[nameColumn], Place{std::stoul(row[0]), std::stoul(row[1])});
    return places;
}

#define PLACE(Record, field)                                                                       \
    {                                                                                              \
#field, Place { offsetof(Record, field), sizeof(Record::field) }                           \
    }

TEST(Documents, GiveTheLayoutOfTheRegistry) {
    using shm::RegistrySegment;
    using shm::RegistrySlot;
    const std::map<std::string, Place> expected = {PLACE(RegistrySegment, version),
                                                   PLACE(RegistrySegment, mutex),
                                                   PLACE(RegistrySegment, slotHighWater),
                                                   PLACE(RegistrySegment, slots),
                                                   PLACE(RegistrySegment, magic),
                                                   PLACE(RegistrySlot, instanceId),
                                                   PLACE(RegistrySlot, remoteId),
                                                   PLACE(RegistrySlot, displayName),
                                                   PLACE(RegistrySlot, active),
                                                   PLACE(RegistrySlot, latencySamples),
                                                   PLACE(RegistrySlot, heartbeat),
                                                   PLACE(RegistrySlot, state),
                                                   PLACE(RegistrySlot, gainReduction),
                                                   PLACE(RegistrySlot, bandCount),
                                                   PLACE(RegistrySlot, bandsSeq),
                                                   PLACE(RegistrySlot, bands),
                                                   PLACE(RegistrySlot, hpHz),
                                                   PLACE(RegistrySlot, lpHz),
                                                   PLACE(RegistrySlot, hpLpSeq),
                                                   PLACE(RegistrySlot, controls),
                                                   PLACE(RegistrySlot, controlsSeq),
                                                   PLACE(RegistrySlot, bypass),
                                                   PLACE(RegistrySlot, duckSelf),
                                                   PLACE(RegistrySlot, audioBinsSeq),
                                                   PLACE(RegistrySlot, displayBins),
                                                   PLACE(RegistrySlot, audioBins),
                                                   PLACE(TDBand, loHz),
                                                   PLACE(TDBand, hiHz),
                                                   PLACE(TDBand, threshDb),
                                                   PLACE(TDBand, ratio),
                                                   PLACE(TDBand, enabled)};
    EXPECT_EQ(placesIn("registry.md", 2), expected);
}

TEST(Documents, GiveTheLayoutOfTheState) {
    std::map<std::string, Place> expected;
    state::Head head;
    std::size_t offset = 0;
    const auto add = [&](const std::string& name, std::size_t bytes) {
        expected[name] = {offset, bytes};
        offset += bytes;
    };
    state::visitHead(head, [&](const char* name, const auto& field) {
        add(name, sizeof field);
        return true;
    });
    add("parameters", sizeof(state::ParamValues));
    for (const char* name : {"tag", "version", "editor width", "editor height", "duck flag"})
        add(name, sizeof(std::uint32_t));
    std::map<std::string, Place> stated;
    for (const Row& row : numberedRows("state.md"))
        if (row.size() == 5)
            stated[row[3]] = {std::stoul(row[0]), std::stoul(row[1])};
    EXPECT_EQ(stated, expected);
    iplug::IByteChunk chunk;
    state::write(chunk, {}, {}, {});
    EXPECT_EQ(static_cast<std::size_t>(chunk.Size()), offset);
}

TEST(Documents, GiveTheRangesOfTheParameters) {
    int found = 0;
    for (const Row& row : numberedRows("state.md"))
        if (row.size() == 6) {
            const iplug::ParamSpec& spec = kParamTable.at(std::stoul(row[0]));
            EXPECT_EQ(row[1], spec.name);
            EXPECT_EQ(row[2], spec.label);
            EXPECT_EQ(std::stod(row[3]), spec.defaultValue) << row[1];
            EXPECT_EQ(std::stod(row[4]), spec.min) << row[1];
            EXPECT_EQ(std::stod(row[5]), spec.max) << row[1];
            ++found;
        }
    EXPECT_EQ(found, kNumParams);
}

/// All "A to B" of a line.
std::vector<std::pair<double, double>> rangesIn(const std::string& line) {
    static const std::regex range("(-?[0-9.]+) to (-?[0-9.]+)");
    std::vector<std::pair<double, double>> found;
    for (std::sregex_iterator at(line.begin(), line.end(), range), end; at != end; ++at)
        found.emplace_back(std::stod((*at)[1]), std::stod((*at)[2]));
    return found;
}

TEST(Documents, GiveTheUserTheRangesOfTheSettings) {
    const std::map<std::string, std::vector<ParamIndex>> settings = {
        {"Threshold", {ThreshLow}}, {"Ratio", {RatioLow}}, {"Band edges", {FreqLow, FreqHigh}},
        {"HP, LP", {HP, LP}},       {"Attack", {Attack}},  {"Release", {Release}},
        {"Make-up", {Makeup}}};
    std::ifstream manual(TD_DOCUMENTS "/manual.md");
    std::size_t found = 0;
    for (std::string line; std::getline(manual, line);) {
        const auto setting = settings.find(line.substr(0, line.find(" |")).erase(0, 2));
        if (!line.starts_with("| ") || setting == settings.end())
            continue;
        ++found;
        std::vector<std::pair<double, double>> expected;
        if (setting->first == "Band edges")
            expected.emplace_back(kLowestEdgeHz, kHighestEdgeHz);
        for (const ParamIndex param : setting->second)
            expected.emplace_back(kParamTable[param].min, kParamTable[param].max);
        EXPECT_EQ(rangesIn(line), expected) << line;
        if (setting->first == "Band edges")
            continue;
        std::istringstream defaults(line.substr(line.find('|', line.find('|', 2) + 1) + 1));
        for (const ParamIndex param : setting->second) {
            double value = NAN;
            EXPECT_TRUE(defaults >> value) << line;
            EXPECT_EQ(value, kParamTable[param].defaultValue) << line;
            defaults.ignore(1, ',');
        }
    }
    EXPECT_EQ(found, settings.size());
}

TEST(Documents, GiveTheDelays) {
    int found = 0;
    for (const Row& row : numberedRows("manual.md")) {
        std::istringstream rates(row[0]);
        for (std::string rate; std::getline(rates, rate, ','); ++found) {
            const std::uint32_t size =
                std::make_unique<dsp::SpectralProcessor>()->reset(std::stod(rate));
            EXPECT_EQ(std::stoul(row[1]), size) << rate;
            EXPECT_EQ(std::stoul(row[2]), 2 * size) << rate;
            EXPECT_EQ(std::stoi(row[3]), iplug::Config{}.latencySamples) << rate;
        }
    }
    EXPECT_EQ(found, 6);
}

} // namespace
