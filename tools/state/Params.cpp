#include "tools/state/Values.h"

namespace listing {
namespace {

constexpr int kValueBytes = sizeof(double);

std::string rangeText(const iplug::ParamSpec& spec) {
    return withUnit(numberText(spec.min) + " to " + numberText(spec.max), spec.label);
}

std::string remarkOn(const iplug::IParam& param, double value) {
    if (std::isnan(value))
        return "not a number: the present value stays";
    const double taken = param.Constrain(value);
    if (taken == value)
        return "";
    const iplug::ParamSpec& spec = param.Spec();
    const bool inside = value >= spec.min && value <= spec.max;
    return (inside ? "not a whole step" : "not " + rangeText(spec)) + ": becomes " +
           withUnit(numberText(taken), spec.label);
}

Field paramField(int index, int offset, double value) {
    const iplug::IParam param(kParamTable[static_cast<std::size_t>(index)]);
    const iplug::ParamSpec& spec = param.Spec();
    return {offset,
            kValueBytes,
            spec.name,
            spec.name,
            withUnit(numberText(value), spec.label),
            numberJson(value),
            remarkOn(param, value)};
}

} // namespace

void addParams(Listing& listing) {
    const state::Reading& reading = listing.reading;
    int offset = reading.paramsAt;
    for (int index = 0; index < reading.paramCount; ++index) {
        const double value = reading.params[static_cast<std::size_t>(index)];
        listing.fields.push_back(paramField(index, offset, value));
        offset += kValueBytes;
    }
    if (reading.paramCount == kNumParams)
        return;
    std::string missing;
    for (int index = reading.paramCount; index < kNumParams; ++index)
        missing += std::string(missing.empty() ? "" : ", ") +
                   kParamTable[static_cast<std::size_t>(index)].name;
    listing.remarks.push_back("not in the state, the present values stay: " + missing);
}

} // namespace listing
