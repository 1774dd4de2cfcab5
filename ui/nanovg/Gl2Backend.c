/* NanoVG's OpenGL 2 back end, on the entry points that glad loads. */
#include <glad/gl.h>

#include <nanovg.h>

#define NANOVG_GL2_IMPLEMENTATION
#include <nanovg_gl.h>
