// Stands in for GL and GLX wherever a module of this process looks them up: what a frame calls does
// nothing, all else (contexts, shaders, textures) is real.
#include "bench/plugin/WithoutGl.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <string_view>
#include <unistd.h>

namespace {

using Function = void (*)();
struct Drawable;

std::mutex sMutex;
std::map<pid_t, long> sFrames; ///< guarded by sMutex

constexpr std::array<std::string_view, 27> kOfAFrame = {"glActiveTexture",
                                                        "glBindBuffer",
                                                        "glBindTexture",
                                                        "glBlendFuncSeparate",
                                                        "glBufferData",
                                                        "glClear",
                                                        "glClearColor",
                                                        "glColorMask",
                                                        "glCullFace",
                                                        "glDisable",
                                                        "glDisableVertexAttribArray",
                                                        "glDrawArrays",
                                                        "glEnable",
                                                        "glEnableVertexAttribArray",
                                                        "glFrontFace",
                                                        "glStencilFunc",
                                                        "glStencilMask",
                                                        "glStencilOp",
                                                        "glStencilOpSeparate",
                                                        "glTexSubImage2D",
                                                        "glUniform1i",
                                                        "glUniform2fv",
                                                        "glUniform4fv",
                                                        "glUseProgram",
                                                        "glVertexAttribPointer",
                                                        "glViewport",
                                                        "glPixelStorei"};

void doNothing() {}

template <class Signature>
Signature* real(const char* name) {
    return reinterpret_cast<Signature*>(dlsym(dlopen("libGL.so.1", RTLD_NOW), name));
}

} // namespace

std::set<pid_t> bench::drawingThreads() {
    const std::scoped_lock lock(sMutex);
    std::set<pid_t> threads;
    for (const auto& [thread, frames] : sFrames)
        threads.insert(thread);
    return threads;
}

long bench::framesDrawnBy(pid_t thread) {
    const std::scoped_lock lock(sMutex);
    return sFrames[thread];
}

// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

[[gnu::visibility("default")]] Function glXGetProcAddress(const unsigned char* name) {
    static const auto get = real<Function(const unsigned char*)>("glXGetProcAddress");
    const std::string_view text(reinterpret_cast<const char*>(name));
    return std::ranges::find(kOfAFrame, text) != kOfAFrame.end() ? doNothing : get(name);
}

[[gnu::visibility("default")]] void glXSwapBuffers(void*, unsigned long) {
    const std::scoped_lock lock(sMutex);
    ++sFrames[gettid()];
}

/// A thread has one context and keeps it.
[[gnu::visibility("default")]] int glXMakeCurrent(void* display, unsigned long window,
                                                  void* context) {
    static const auto makeCurrent = real<int(void*, unsigned long, void*)>("glXMakeCurrent");
    thread_local void* current = nullptr;
    if (context == nullptr || context == current)
        return 1;
    current = context;
    return makeCurrent(display, window, context);
}
}
// NOLINTEND(readability-identifier-naming)
