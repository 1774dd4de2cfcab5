/// pugl under its current names, with either generation of it: the copy of 2022 that Debian
/// packages lacks or spells differently what stands below. Include this instead of pugl's headers.
#pragma once

#include <cstddef>
#include <cstdint>

// The copy of 2022 declares nothing as C by itself.
extern "C" {
#include <pugl/gl.h>
#include <pugl/pugl.h>
}

#ifndef PUGL_NUM_STRING_HINTS // the generation of 2022
// NOLINTBEGIN(readability-identifier-naming): pugl's own names

inline constexpr PuglEventType PUGL_REALIZE = PUGL_CREATE;
inline constexpr PuglEventType PUGL_UNREALIZE = PUGL_DESTROY;

inline constexpr std::uint32_t PUGL_KEY_ENTER = 0x0D;       ///< of the keypad too
inline constexpr std::uint32_t PUGL_KEY_PAD_ENTER = 0xE070; ///< never sent by this generation

inline constexpr PuglViewHint PUGL_CONTEXT_PROFILE = PUGL_USE_COMPAT_PROFILE;
inline constexpr int PUGL_OPENGL_COMPATIBILITY_PROFILE = PUGL_TRUE;

enum PuglStringHint { PUGL_CLASS_NAME };
enum PuglCurrentSizeHint { PUGL_CURRENT_SIZE };
enum PuglShowCommand { PUGL_SHOW_PASSIVE };

struct PuglArea {
    PuglSpan width;
    PuglSpan height;
};

inline PuglStatus puglSetWorldString(PuglWorld* world, PuglStringHint, const char* value) {
    return puglSetClassName(world, value);
}

inline PuglStatus puglSetParent(PuglView* view, PuglNativeView parent) {
    return puglSetParentWindow(view, parent);
}

/// Pixels. A zero size is refused, as by the current generation; here X would end the process.
inline PuglStatus puglSetSizeHint(PuglView* view, PuglCurrentSizeHint, unsigned width,
                                  unsigned height) {
    return width == 0 || height == 0 ? PUGL_BAD_PARAMETER : puglSetSize(view, width, height);
}

/// Pixels. Before the first configure event: the default size here, 0 × 0 in current pugl.
inline PuglArea puglGetSizeHint(const PuglView* view, PuglCurrentSizeHint) {
    const PuglRect frame = puglGetFrame(view);
    return {frame.width, frame.height};
}

inline PuglStatus puglObscureView(PuglView* view) { return puglPostRedisplay(view); }

/// Maps the view's window without raising it, realising the view first if need be. Defined with the
/// window system.
PuglStatus puglShow(PuglView* view, PuglShowCommand command);

// NOLINTEND(readability-identifier-naming)
#endif
