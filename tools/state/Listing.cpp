#include "tools/state/Listing.h"

#include <algorithm>

namespace listing {

Listing list(const iplug::IByteChunk& chunk) {
    Listing listing;
    listing.bytes = chunk.Size();
    listing.reading = state::read(chunk, 0);
    addHead(listing);
    if (!listing.reading.broken) {
        addParams(listing);
        addTail(listing, chunk);
    }
    return listing;
}

bool isWhole(const Listing& listing) {
    return loads(listing) && listing.remarks.empty() &&
           std::ranges::all_of(listing.fields,
                               [](const Field& field) { return field.remark.empty(); });
}

bool isState(const Listing& listing) {
    const auto remarked = [](const Field& field) { return !field.remark.empty(); };
    const bool hasTrailer =
        std::ranges::find(listing.fields, "trailerTag", &Field::name) != listing.fields.end();
    return loads(listing) && (hasTrailer || std::ranges::none_of(listing.fields, remarked));
}

} // namespace listing
