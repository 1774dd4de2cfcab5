// Lets a test have a full frame rate on any machine: with software GL nearly all the time of a
// frame goes into filling pixels, which tests of gestures never look at.
#include "tests/editor/Screen.h"

#include <cstring>
#include <dlfcn.h>

namespace {

using Function = void (*)();

void drawNothing() {}

} // namespace

namespace support {
bool sDrawsNothing = false;
}

/// Stands in for GLX's own function wherever a module of this process looks one up.
extern "C" [[gnu::visibility("default")]] Function glXGetProcAddress(const unsigned char* name) {
    static const auto real = reinterpret_cast<Function (*)(const unsigned char*)>(
        dlsym(dlopen("libGL.so.1", RTLD_NOW), "glXGetProcAddress"));
    const auto* const text = reinterpret_cast<const char*>(name);
    const bool fills = std::strcmp(text, "glDrawArrays") == 0 || std::strcmp(text, "glClear") == 0;
    return support::sDrawsNothing && fills ? drawNothing : real(name);
}
