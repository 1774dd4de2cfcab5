// Stands in for plugin/TessellaDuckworkEditor.cpp where a test of the instance needs no window.
#include "tests/plugin/NoEditor.h"

#include "plugin/TessellaDuckwork.h"

thread_local dsp::BandLevels support::handedPeerLevel{};

void* TessellaDuckwork::OpenWindow(void* parent) {
    FlushSHMToParams();
    return parent;
}
void TessellaDuckwork::CloseWindow() { SetEditorSize(editorWidth, editorHeight); }
void TessellaDuckwork::HandMetersToEditor() { support::handedPeerLevel = peerLevel; }
