// Stands in for plugin/TessellaDuckworkEditor.cpp where a test of the instance needs no window.
#include "plugin/TessellaDuckwork.h"

void* TessellaDuckwork::OpenWindow(void* parent) {
    FlushSHMToParams();
    return parent;
}
void TessellaDuckwork::CloseWindow() { SetEditorSize(editorWidth, editorHeight); }
void TessellaDuckwork::HandMetersToEditor() {}
