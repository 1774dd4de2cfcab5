/// The smaller extensions of an instance: state, latency, tail, render, audio ports.
/// An absent extension answers nullopt, false or an empty list. All [main] unless marked.
#pragma once

#include "adapter/ClapRecords.h"
#include "host/ByteStream.h"
#include "host/Instance.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace host {

/// The saved state, or nullopt when the plug-in answered false.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> saveState(const Instance& instance,
                                                                 StreamLimits limits = {});
[[nodiscard]] bool loadState(const Instance& instance, const std::vector<std::uint8_t>& bytes,
                             StreamLimits limits = {});

[[nodiscard]] std::optional<std::uint32_t> latency(const Instance& instance);
[[nodiscard]] std::optional<std::uint32_t> tail(const Instance& instance); ///< [main or audio]

enum class RenderMode : std::int32_t { Realtime = 0, Offline = 1 };
[[nodiscard]] bool setRenderMode(const Instance& instance, RenderMode mode);

[[nodiscard]] std::vector<clap_audio_port_info_t> audioPorts(const Instance& instance,
                                                             bool isInput);
[[nodiscard]] std::vector<clap_audio_ports_config_t> audioPortConfigs(const Instance& instance);
[[nodiscard]] bool selectAudioPortConfig(const Instance& instance, clap_id configId);
/// Port specs that fit the declared ports, all in one sample format.
[[nodiscard]] std::vector<PortSpec> portSpecs(const Instance& instance, bool isInput,
                                              SampleFormat format = SampleFormat::Float64);

} // namespace host
