/// A saved state field by field, with what the plug-in would make of each. Pure.
#pragma once

#include "plugin/StateChunk.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace listing {

using Json = nlohmann::ordered_json;

struct Field {
    int offset = 0;
    int size = 0;       ///< bytes
    std::string name;   ///< for programs
    std::string label;  ///< for people
    std::string value;  ///< with its unit; printable
    Json json;          ///< the same as JSON, numbers that are not finite as null
    std::string remark; ///< what the plug-in does other than taking it as it stands; else empty
};

struct Listing {
    int bytes = 0;
    state::Reading reading;
    std::vector<Field> fields;        ///< by offset; the last may be incomplete
    std::vector<std::string> remarks; ///< what concerns no single field
};

/// Reads the chunk as the plug-in does.
[[nodiscard]] Listing list(const iplug::IByteChunk& chunk);

/// The plug-in would answer that it has loaded the state.
[[nodiscard]] inline bool loads(const Listing& listing) { return listing.reading.result >= 0; }
/// It would load all of a current state as it stands: nothing is missing, changed or ignored.
[[nodiscard]] bool isWhole(const Listing& listing);

/// It is one, as far as can be told: the plug-in loads it, and either it has a trailer or, as those
/// of early versions, nothing but possible values.
[[nodiscard]] bool isState(const Listing& listing);

// The steps of list: each appends what it finds.
void addHead(Listing& listing);
void addParams(Listing& listing);
void addTail(Listing& listing, const iplug::IByteChunk& chunk);

} // namespace listing
