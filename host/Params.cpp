#include "host/Params.h"

#include "host/AudioThreadScope.h"

#include <algorithm>

namespace host {

Params::Params(const Instance& viewed)
    : instance(viewed), table(viewed.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS)) {}

std::vector<clap_param_info_t> Params::infos() const {
    std::vector<clap_param_info_t> infos;
    const std::uint32_t count = table == nullptr ? 0 : table->count(instance.plugin());
    for (std::uint32_t index = 0; index < count; ++index) {
        clap_param_info_t info{};
        if (table->get_info(instance.plugin(), index, &info))
            infos.push_back(info);
    }
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
    if (table == nullptr || !table->get_value(instance.plugin(), id, &value))
        return std::nullopt;
    return value;
}

std::optional<std::string> Params::toText(clap_id id, double value,
                                          std::uint32_t bufferSize) const {
    std::string text(bufferSize, '\0');
    if (table == nullptr ||
        !table->value_to_text(instance.plugin(), id, value, text.data(), bufferSize))
        return std::nullopt;
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::optional<double> Params::fromText(clap_id id, const std::string& text) const {
    double value = 0.0;
    if (table == nullptr || !table->text_to_value(instance.plugin(), id, text.c_str(), &value))
        return std::nullopt;
    return value;
}

bool Params::flush(const EventList& in, EventList& out) const {
    if (table == nullptr)
        return false;
    std::optional<AudioThreadScope> scope;
    if (instance.isActive())
        scope.emplace();
    table->flush(instance.plugin(), in.input(), out.output());
    return true;
}

} // namespace host
