/// The parameters of an instance, through clap.params.
#pragma once

#include "host/Instance.h"

#include <clap/ext/params.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A view of an instance, which must outlive it. Values are in the host's units: what infos() gives
/// as minimum and maximum. Without the extension: no parameters, no values. [main]
class Params {
public:
    explicit Params(const Instance& viewed);

    [[nodiscard]] std::vector<clap_param_info_t> infos() const;
    [[nodiscard]] std::optional<clap_param_info_t> find(std::string_view name) const;

    [[nodiscard]] std::optional<double> value(clap_id id) const;
    /// Text of a value through a buffer of `bufferSize` bytes, as small as a test likes.
    [[nodiscard]] std::optional<std::string> toText(clap_id id, double value,
                                                    std::uint32_t bufferSize = 256) const;
    [[nodiscard]] std::optional<double> fromText(clap_id id, const std::string& text) const;
    /// False without the extension. While the instance is active this counts as [audio].
    bool flush(const EventList& in, EventList& out) const;

private:
    const Instance& instance;
    const clap_plugin_params_t* table;
};

} // namespace host
