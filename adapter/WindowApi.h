/// The window system that the editor lives in.
#pragma once

namespace editor {

/// As CLAP calls it: what hosts are offered (IPlugCLAPGui.cpp) and what the editor's own window is
/// made for (ui/X11Window.cpp). [any]
inline constexpr const char kWindowApi[] = "x11";

} // namespace editor
