#include "host/Extensions.h"

namespace host {

std::optional<std::vector<std::uint8_t>> saveState(const Instance& instance, StreamLimits limits) {
    const auto* state = instance.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    ByteSink sink(limits);
    if (state == nullptr || !state->save(instance.plugin(), sink.stream()))
        return std::nullopt;
    return sink.bytes();
}

bool loadState(const Instance& instance, const std::vector<std::uint8_t>& bytes,
               StreamLimits limits) {
    const auto* state = instance.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    const ByteSource source(bytes, limits);
    return state != nullptr && state->load(instance.plugin(), source.stream());
}

std::optional<std::uint32_t> latency(const Instance& instance) {
    const auto* table = instance.extension<clap_plugin_latency_t>(CLAP_EXT_LATENCY);
    if (table == nullptr)
        return std::nullopt;
    return table->get(instance.plugin());
}

std::optional<std::uint32_t> tail(const Instance& instance) {
    const auto* table = instance.extension<clap_plugin_tail_t>(CLAP_EXT_TAIL);
    if (table == nullptr)
        return std::nullopt;
    return table->get(instance.plugin());
}

bool setRenderMode(const Instance& instance, RenderMode mode) {
    const auto* table = instance.extension<clap_plugin_render_t>(CLAP_EXT_RENDER);
    return table != nullptr && table->set(instance.plugin(), static_cast<std::int32_t>(mode));
}

std::vector<clap_audio_port_info_t> audioPorts(const Instance& instance, bool isInput) {
    const auto* table = instance.extension<clap_plugin_audio_ports_t>(CLAP_EXT_AUDIO_PORTS);
    std::vector<clap_audio_port_info_t> ports;
    const std::uint32_t count = table == nullptr ? 0 : table->count(instance.plugin(), isInput);
    for (std::uint32_t index = 0; index < count; ++index) {
        clap_audio_port_info_t info{};
        if (table->get(instance.plugin(), index, isInput, &info))
            ports.push_back(info);
    }
    return ports;
}

std::vector<clap_audio_ports_config_t> audioPortConfigs(const Instance& instance) {
    const auto* table =
        instance.extension<clap_plugin_audio_ports_config_t>(CLAP_EXT_AUDIO_PORTS_CONFIG);
    std::vector<clap_audio_ports_config_t> configs;
    const std::uint32_t count = table == nullptr ? 0 : table->count(instance.plugin());
    for (std::uint32_t index = 0; index < count; ++index) {
        clap_audio_ports_config_t config{};
        if (table->get(instance.plugin(), index, &config))
            configs.push_back(config);
    }
    return configs;
}

bool selectAudioPortConfig(const Instance& instance, clap_id configId) {
    const auto* table =
        instance.extension<clap_plugin_audio_ports_config_t>(CLAP_EXT_AUDIO_PORTS_CONFIG);
    return table != nullptr && table->select(instance.plugin(), configId);
}

std::vector<PortSpec> portSpecs(const Instance& instance, bool isInput, SampleFormat format) {
    std::vector<PortSpec> specs;
    for (const clap_audio_port_info_t& port : audioPorts(instance, isInput))
        specs.push_back({port.channel_count, format});
    return specs;
}

} // namespace host
