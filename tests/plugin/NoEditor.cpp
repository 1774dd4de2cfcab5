// Stands in for plugin/TessellaDuckworkEditor.cpp where a test of the instance needs no window.
#include "tests/plugin/NoEditor.h"

#include "plugin/TessellaDuckwork.h"

namespace {
thread_local dsp::BandLevels sHandedPeerLevel{};
}

dsp::BandLevels support::handedPeerLevel() { return sHandedPeerLevel; }

void* TessellaDuckwork::OpenWindow(void* parent) {
    FlushSHMToParams();
    return parent;
}
void TessellaDuckwork::CloseWindow() { SetEditorSize(editorWidth, editorHeight); }
void TessellaDuckwork::HandMetersToEditor() { sHandedPeerLevel = peerLevel; }
