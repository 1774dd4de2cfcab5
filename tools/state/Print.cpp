#include "tools/state/Print.h"

#include "tools/common/Text.h"

namespace listing {

std::string verdict(const Listing& listing) {
    if (listing.bytes == 0)
        return "The plug-in refuses it: it is empty.";
    if (listing.reading.broken)
        return "The plug-in refuses it: it ends before the parameters. What stands ahead of the "
               "cut is taken all the same.";
    if (!loads(listing))
        return "The plug-in refuses it: it holds no parameter. The names and bands ahead of them "
               "are taken all the same.";
    if (!isState(listing))
        return "It is no saved state, though the plug-in would load it: it has no trailer, and "
               "impossible values.";
    if (!isWhole(listing))
        return "The plug-in loads it, but some settings are missing, changed or ignored (see "
               "remarks).";
    return "The plug-in loads all of it.";
}

namespace {

std::string trailerText(const Listing& listing) {
    for (const Field& field : listing.fields)
        if (field.name == "trailerTag" && listing.reading.trailerFound)
            return "trailer at " + std::to_string(field.offset);
    return "no trailer";
}

} // namespace

std::string table(const Listing& listing, const std::string& title) {
    std::vector<std::array<std::string, 4>> rows{{"OFFSET", "FIELD", "VALUE", "REMARK"}};
    for (const Field& field : listing.fields)
        rows.push_back({std::to_string(field.offset), field.label, field.value, field.remark});
    std::string text = terminal::printable(title) + ": " + std::to_string(listing.bytes) +
                       " bytes, " + trailerText(listing) + "\n" + verdict(listing) + "\n";
    for (const std::string& remark : listing.remarks)
        text += "- " + remark + "\n";
    return text + "\n" + terminal::aligned(rows);
}

std::string json(const Listing& listing) {
    Json fields = Json::array();
    for (const Field& field : listing.fields)
        fields.push_back({{"offset", field.offset},
                          {"size", field.size},
                          {"name", field.name},
                          {"value", field.json},
                          {"remark", field.remark.empty() ? Json() : Json(field.remark)}});
    const Json document{{"bytes", listing.bytes},
                        {"loads", loads(listing)},
                        {"whole", isWhole(listing)},
                        {"result", listing.reading.result},
                        {"trailer", listing.reading.trailerFound},
                        {"remarks", listing.remarks},
                        {"fields", fields}};
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace listing
