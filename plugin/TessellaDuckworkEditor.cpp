// Opens and closes the editor and hands it meters; the only part of the plug-in that knows it.
#include "adapter/EditorSize.h"
#include "plugin/TessellaDuckwork.h"
#include "shm/Patience.h"
#include "ui/TessellaDuckworkUI.h"

#include <memory>

namespace {

/// The first size that is one; the design's when none is.
editor::SizePx firstUsable(std::initializer_list<editor::SizePx> sizes) {
    for (const editor::SizePx size : sizes)
        if (size.width >= 1 && size.height >= 1)
            return size;
    return editor::kDesignSize;
}

} // namespace

void* TessellaDuckwork::OpenWindow(void* parent) {
    CloseWindow();
    {
        // Long enough for anybody but a dead or stopped process, and nothing the host would notice.
        const shm::Patience brief(2);
        FlushSHMToParams();
    }
    const editor::SizePx size =
        firstUsable({{editorWidth, editorHeight}, {GetEditorWidth(), GetEditorHeight()}});
    auto opened = std::make_unique<TessellaDuckworkUI>();
    opened->Open(reinterpret_cast<std::uintptr_t>(parent), size.width, size.height, this);
    editor.store(opened.release());
    return parent;
}

void TessellaDuckwork::CloseWindow() {
    SetEditorSize(editorWidth, editorHeight);
    const std::unique_ptr<TessellaDuckworkUI> closing(editor.exchange(nullptr));
    if (!closing)
        return;
    const AudioGate::Closed closed(editorGate); // the audio thread has let go of it
    closing->Close();
}

void TessellaDuckwork::HandMetersToEditor() {
    if (editor.load(std::memory_order_relaxed) == nullptr)
        return; // the gate costs more than the look
    const AudioGate::Pass pass(editorGate);
    TessellaDuckworkUI* const open = pass ? editor.load() : nullptr;
    if (open != nullptr)
        open->SetMeters(ownLevel.data(), peerLevel.data(), grMeter.data());
}
