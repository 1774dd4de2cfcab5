#include "host/Params.h"

#include "host/AudioThreadScope.h"

#include <algorithm>

namespace host {

Params::Params(const Instance& instance)
    : mInstance(instance), mTable(instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS)) {}

std::uint32_t Params::count() const {
    return mTable == nullptr ? 0 : mTable->count(mInstance.plugin());
}

std::optional<clap_param_info_t> Params::info(std::uint32_t index) const {
    clap_param_info_t info{};
    if (mTable == nullptr || !mTable->get_info(mInstance.plugin(), index, &info))
        return std::nullopt;
    return info;
}

std::vector<clap_param_info_t> Params::infos() const {
    std::vector<clap_param_info_t> infos;
    for (std::uint32_t index = 0; index < count(); ++index)
        if (const auto entry = info(index))
            infos.push_back(*entry);
    return infos;
}

std::optional<clap_param_info_t> Params::find(std::string_view name) const {
    for (const clap_param_info_t& entry : infos())
        if (name == entry.name)
            return entry;
    return std::nullopt;
}

std::optional<double> Params::value(clap_id id) const {
    double value = 0.0;
    if (mTable == nullptr || !mTable->get_value(mInstance.plugin(), id, &value))
        return std::nullopt;
    return value;
}

std::optional<std::string> Params::toText(clap_id id, double value,
                                          std::uint32_t bufferSize) const {
    std::string text(bufferSize, '\0');
    if (mTable == nullptr ||
        !mTable->value_to_text(mInstance.plugin(), id, value, text.data(), bufferSize))
        return std::nullopt;
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::optional<double> Params::fromText(clap_id id, const std::string& text) const {
    double value = 0.0;
    if (mTable == nullptr || !mTable->text_to_value(mInstance.plugin(), id, text.c_str(), &value))
        return std::nullopt;
    return value;
}

bool Params::flush(const EventList& in, EventList& out) const {
    if (mTable == nullptr)
        return false;
    std::optional<AudioThreadScope> scope;
    if (mInstance.isActive())
        scope.emplace();
    mTable->flush(mInstance.plugin(), in.input(), out.output());
    return true;
}

} // namespace host
