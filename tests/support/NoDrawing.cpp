// Lets a test have a full frame rate on any machine: with software GL nearly all the time of a
// frame goes into filling pixels, which tests of gestures never look at.
#include "tests/support/Screen.h"

#include <cstring>
#include <dlfcn.h>

namespace support {
bool sDrawsNothing = false;
std::atomic<int> sFramesDrawn = 0;
} // namespace support

namespace {

using Function = void (*)();

void drawNothing() {}
void countFrame() { ++support::sFramesDrawn; }

} // namespace

/// Stands in for GLX's own function wherever a module of this process looks one up.
extern "C" [[gnu::visibility("default")]] Function glXGetProcAddress(const unsigned char* name) {
    static const auto real = reinterpret_cast<Function (*)(const unsigned char*)>(
        dlsym(dlopen("libGL.so.1", RTLD_NOW), "glXGetProcAddress"));
    const auto* const text = reinterpret_cast<const char*>(name);
    if (support::sDrawsNothing && std::strcmp(text, "glDrawArrays") == 0)
        return drawNothing;
    if (support::sDrawsNothing && std::strcmp(text, "glClear") == 0)
        return countFrame; // a frame clears once
    return real(name);
}
