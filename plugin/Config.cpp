#include "plugin/Config.h"

#include "adapter/EditorSize.h"
#include "plugin/Parameters.h"

static_assert(kNumParams <= 32, "masks of parameters have a bit for each");

constexpr iplug::Config kConfig = {
    .paramCount = kNumParams,
    .channelIO = "2-2 2.2-2", // stereo, or with a second stereo input beside it
    .pluginName = "TessellaDuckwork",
    .productName = "TessellaDuckwork",
    .manufacturerName = "Orlavenko",
    .vendorVersion = TD_VERSION_PACKED,
    .uniqueId = iplug::fourCharacterCode("Ortd"),
    .manufacturerId = iplug::fourCharacterCode("Orla"),
    .latencySamples = 1024,
    .stateChunks = true,
    .hasEditor = true,
    .editorWidthPx = editor::kDesignSize.width,
    .editorHeightPx = editor::kDesignSize.height,
    .minWidthPx = 320,
    .maxWidthPx = 2880,
    .minHeightPx = 200,
    .maxHeightPx = 1800,
    .hostMayResize = true,
};
