/// The OpenGL entry points that the drawing calls.
#pragma once

namespace ui {

/// Loads them, once per process; later calls return the first one's result. A GL context must be
/// current. False: nothing can be drawn, in this process ever. [any thread, in a realize event]
[[nodiscard]] bool loadGl();

} // namespace ui
