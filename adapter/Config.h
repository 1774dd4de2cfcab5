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

/// The static configuration of a plug-in; all texts are literals.
struct Config {
    int paramCount = 14;
    int presetCount = 1;
    /// Channel configurations, separated by spaces: inputs-outputs, buses separated by dots.
    const char* channelIO = "2-2 2.2-2";
    const char* pluginName = "TessellaDuckwork";
    const char* productName = "TessellaDuckwork";
    const char* manufacturerName = "Orlavenko";
    std::uint32_t vendorVersion = 0x10302; ///< major 16 bits, minor 8, patch 8
    std::uint32_t uniqueId = fourCharacterCode("Ortd");
    std::uint32_t manufacturerId = fourCharacterCode("Orla");
    int latencySamples = 1024; ///< what the host is told, whatever the real delay
    bool midiIn = false;
    bool midiOut = false;
    bool mpe = false;
    bool stateChunks = true; ///< state is saved as one opaque chunk
    int pluginType = 0;      ///< effect
    bool hasEditor = true;
    int editorWidthPx = 960;
    int editorHeightPx = 600;
    int minWidthPx = 320;
    int maxWidthPx = 2880;
    int minHeightPx = 200;
    int maxHeightPx = 1800;
    bool hostMayResize = true;
    const char* bundleId = "";
    const char* appGroupId = "";
};

} // namespace iplug
