#include "adapter/IPlugCLAP.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace iplug {
namespace {

/// Fills a fixed text field of a CLAP record, cut to its size.
template <std::size_t size>
void setText(char (&field)[size], const char* text) {
    std::strncpy(field, text, size - 1);
    field[size - 1] = '\0';
}

const char* portType(int channels) { return channels == 1 ? CLAP_PORT_MONO : CLAP_PORT_STEREO; }

} // namespace

IPlugCLAP::IPlugCLAP(const InstanceInfo& info, const Config& config,
                     const SampleConversions& conversions)
    : IPlugAPIBase(config), IPlugProcessor(config), ClapPlugin(*info.descriptor, info.host),
      staticConfig(config), buffers(conversions) {}

bool IPlugCLAP::init() noexcept { return SelectIOConfig(0); }

bool IPlugCLAP::activate(double sampleRate, std::uint32_t /*minFrames*/,
                         std::uint32_t maxFrames) noexcept {
    if (!std::isfinite(sampleRate) || sampleRate <= 0.0)
        return false;
    return guarded("activation failed", [&] {
        SetBlockSize(maxFrames);
        SetSampleRate(sampleRate);
        buffers.Prepare(maxFrames);
        OnActivate(true);
        OnParamReset(ParamSource::Reset);
        OnReset();
        // Only remembered: the host's function is for the audio thread.
        tailChangedPending = canUseTail();
        return true;
    });
}

void IPlugCLAP::deactivate() noexcept {
    guarded("deactivation failed", [this] {
        OnActivate(false);
        FlushParamsIfNeeded();
    });
}

void IPlugCLAP::onMainThread() noexcept {
    guarded("housekeeping failed", [this] { OnIdle(); });
}

std::uint32_t IPlugCLAP::audioPortsCount(bool isInput) const noexcept {
    const IOConfig& config = CurrentIOConfig();
    return static_cast<std::uint32_t>((isInput ? config.inputs : config.outputs).size());
}

bool IPlugCLAP::audioPortsInfo(std::uint32_t index, bool isInput,
                               clap_audio_port_info_t* info) const noexcept {
    if (index >= audioPortsCount(isInput))
        return false;
    const IOConfig& config = CurrentIOConfig();
    const int channels = (isInput ? config.inputs : config.outputs)[index];
    const bool isMain = index == 0;
    *info = {};
    info->id = index;
    setText(info->name, isMain ? (isInput ? "Input" : "Output") : "Sidechain");
    info->flags = CLAP_AUDIO_PORT_SUPPORTS_64BITS;
    if (isMain)
        info->flags |= CLAP_AUDIO_PORT_IS_MAIN;
    info->channel_count = static_cast<std::uint32_t>(channels);
    info->port_type = portType(channels);
    info->in_place_pair = isMain ? 0 : CLAP_INVALID_ID;
    return true;
}

std::uint32_t IPlugCLAP::audioPortsConfigCount() const noexcept {
    return static_cast<std::uint32_t>(IOConfigs().size());
}

bool IPlugCLAP::audioPortsGetConfig(std::uint32_t index,
                                    clap_audio_ports_config_t* config) const noexcept {
    if (index >= audioPortsConfigCount())
        return false;
    const IOConfig& io = IOConfigs()[index];
    *config = {};
    config->id = index;
    setText(config->name, io.inputs.size() > 1 ? "Stereo with sidechain" : "Stereo");
    config->input_port_count = static_cast<std::uint32_t>(io.inputs.size());
    config->output_port_count = static_cast<std::uint32_t>(io.outputs.size());
    config->has_main_input = true;
    config->main_input_channel_count = static_cast<std::uint32_t>(io.inputs.front());
    config->main_input_port_type = portType(io.inputs.front());
    config->has_main_output = true;
    config->main_output_channel_count = static_cast<std::uint32_t>(io.outputs.front());
    config->main_output_port_type = portType(io.outputs.front());
    return true;
}

bool IPlugCLAP::audioPortsSetConfig(clap_id configId) noexcept {
    return !isActive() && SelectIOConfig(configId);
}

std::uint32_t IPlugCLAP::latencyGet() const noexcept {
    return static_cast<std::uint32_t>(GetLatency());
}

bool IPlugCLAP::renderSetMode(clap_plugin_render_mode mode) noexcept {
    SetRenderingOffline(mode == CLAP_RENDER_OFFLINE);
    return true;
}

std::uint32_t IPlugCLAP::paramsCount() const noexcept {
    return static_cast<std::uint32_t>(NParams());
}

bool IPlugCLAP::paramsInfo(std::uint32_t index, clap_param_info_t* info) const noexcept {
    if (!IsParam(index))
        return false;
    const IParam& param = GetParam(static_cast<int>(index));
    const ParamSpec& spec = param.Spec();
    *info = {};
    info->id = index;
    info->flags = CLAP_PARAM_IS_AUTOMATABLE | CLAP_PARAM_REQUIRES_PROCESS;
    if (param.Stepped())
        info->flags |= CLAP_PARAM_IS_STEPPED;
    setText(info->name, spec.name);
    info->min_value = param.ToHost(spec.min);
    info->max_value = param.ToHost(spec.max);
    info->default_value = param.ToHost(spec.defaultValue);
    return true;
}

bool IPlugCLAP::paramsValue(clap_id id, double* value) noexcept {
    if (!IsParam(id))
        return false;
    const IParam& param = GetParam(static_cast<int>(id));
    *value = param.ToHost(param.Value());
    return true;
}

bool IPlugCLAP::paramsValueToText(clap_id id, double value, char* display,
                                  std::uint32_t size) noexcept {
    if (!IsParam(id) || std::isnan(value))
        return false;
    return guarded(nullptr, [&] {
        const IParam& param = GetParam(static_cast<int>(id));
        const std::string text = param.ValueToString(param.FromHost(value));
        if (text.size() >= size)
            return false;
        std::memcpy(display, text.c_str(), text.size() + 1);
        return true;
    });
}

bool IPlugCLAP::paramsTextToValue(clap_id id, const char* display, double* value) noexcept {
    if (!IsParam(id) || display == nullptr)
        return false;
    const IParam& param = GetParam(static_cast<int>(id));
    *value = param.ToHost(param.StringToValue(display));
    return true;
}

} // namespace iplug
