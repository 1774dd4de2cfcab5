/// What the plug-in is, as the framework layer needs to know it.
#pragma once

#include <cstdint>

namespace iplug {

/// Four characters packed into one number, the first in the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&code)[5]) {
    std::uint32_t packed = 0;
    for (int i = 0; i < 4; ++i)
        packed = packed << 8 | static_cast<unsigned char>(code[i]);
    return packed;
}

/// The static configuration of a plug-in; all texts are literals. A plug-in that states nothing is
/// a stereo effect without parameters, delay or editor.
struct Config {
    int paramCount = 0;
    int presetCount = 1;
    /// Channel configurations, separated by spaces: inputs-outputs, buses separated by dots.
    const char* channelIO = "2-2";
    const char* pluginName = "";
    const char* productName = "";
    const char* manufacturerName = "";
    std::uint32_t vendorVersion = 0; ///< major 16 bits, minor 8, patch 8
    std::uint32_t uniqueId = 0;      ///< a fourCharacterCode
    std::uint32_t manufacturerId = 0;
    int latencySamples = 0; ///< what the host is told, whatever the real delay
    bool midiIn = false;
    bool midiOut = false;
    bool mpe = false;
    bool stateChunks = false; ///< state is saved as one opaque chunk
    int pluginType = 0;       ///< effect
    bool hasEditor = false;
    int editorWidthPx = 0;
    int editorHeightPx = 0;
    int minWidthPx = 0;
    int maxWidthPx = 0;
    int minHeightPx = 0;
    int maxHeightPx = 0;
    bool hostMayResize = false;
    const char* bundleId = "";
    const char* appGroupId = "";
};

} // namespace iplug
