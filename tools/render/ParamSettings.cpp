#include "tools/render/ParamSettings.h"

#include "tools/common/Failure.h"

#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <optional>
#include <sstream>

namespace render {
namespace {

/// The number at the beginning of a text such as "-20.0 dB".
std::optional<double> leadingNumber(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::string textOf(const host::Params& params, const clap_param_info_t& info, double value) {
    const auto text = params.toText(info.id, value);
    if (!text)
        tools::fail(std::string("the plug-in has no text for a value of ") + info.name);
    return *text;
}

std::string rangeOf(const host::Params& params, const clap_param_info_t& info) {
    return textOf(params, info, info.min_value) + " to " + textOf(params, info, info.max_value);
}

bool isInRange(const host::Params& params, const clap_param_info_t& info, double plain) {
    const auto low = leadingNumber(textOf(params, info, info.min_value));
    const auto high = leadingNumber(textOf(params, info, info.max_value));
    return low && high && plain >= *low && plain <= *high;
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
    const auto plain = leadingNumber(setting.text);
    if (!plain)
        tools::failUsage(where + "not a number");
    if (!isInRange(params, info, *plain))
        tools::failUsage(where + "outside its range, " + rangeOf(params, info));
    const auto value = params.fromText(info.id, setting.text);
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
    return value ? leadingNumber(textOf(params, *info, *value)).value_or(0.0) : 0.0;
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
