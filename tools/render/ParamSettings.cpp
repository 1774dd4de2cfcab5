#include "tools/render/ParamSettings.h"

#include "tools/common/Failure.h"
#include "tools/common/Text.h"
#include "tools/render/Quantity.h"

#include <iomanip>
#include <sstream>

namespace render {
namespace {

std::string textOf(const host::Params& params, const clap_param_info_t& info, double value) {
    const auto text = params.toText(info.id, value);
    if (!text)
        tools::fail(std::string("the plug-in has no text for a value of ") + info.name);
    return *text;
}

std::string rangeOf(const host::Params& params, const clap_param_info_t& info) {
    return textOf(params, info, info.min_value) + " to " + textOf(params, info, info.max_value);
}

/// A value of the host in the parameter's own unit, from the plug-in's text for it.
Quantity plainOf(const host::Params& params, const clap_param_info_t& info, double value) {
    return parseQuantity(textOf(params, info, value)).value_or(Quantity{});
}

[[noreturn]] void failUnknown(const host::Params& params, const std::string& name) {
    std::string known;
    for (const clap_param_info_t& info : params.infos())
        known += std::string(known.empty() ? "" : ", ") + info.name;
    tools::failUsage("no parameter is called " + name + "; there are " + known);
}

double hostValue(const host::Params& params, const clap_param_info_t& info,
                 const ParamSetting& setting, std::size_t trackNumber) {
    const std::string where =
        "track " + std::to_string(trackNumber) + ", " + setting.name + "=" + setting.text + ": ";
    const Quantity low = plainOf(params, info, info.min_value);
    const auto plain = parseIn(low.unit, setting.text);
    if (!plain)
        tools::failUsage(where + "not a number" + (low.unit.empty() ? "" : " in " + low.unit) +
                         ": write it like " + textOf(params, info, info.default_value));
    if (*plain < low.number || *plain > plainOf(params, info, info.max_value).number)
        tools::failUsage(where + "outside its range, " + rangeOf(params, info));
    const auto value = params.fromText(info.id, terminal::number(*plain));
    if (!value)
        tools::fail(where + "the plug-in does not understand this text");
    return *value;
}

} // namespace

void applySettings(const host::Params& params, const std::vector<ParamSetting>& settings,
                   std::size_t trackNumber) {
    host::EventList in;
    host::EventList out;
    for (const ParamSetting& setting : settings) {
        const auto info = params.find(setting.name);
        if (!info)
            failUnknown(params, setting.name);
        in.addParamValue(info->id, hostValue(params, *info, setting, trackNumber));
    }
    params.flush(in, out);
}

double plainValue(const host::Params& params, const std::string& name) {
    const auto info = params.find(name);
    const auto value = info ? params.value(info->id) : std::nullopt;
    return value ? plainOf(params, *info, *value).number : 0.0;
}

std::string describeParams(const host::Params& params) {
    std::ostringstream table;
    table << std::left;
    for (const clap_param_info_t& info : params.infos())
        table << std::setw(12) << info.name << std::setw(12)
              << textOf(params, info, info.default_value) << rangeOf(params, info) << '\n';
    return table.str();
}

} // namespace render
