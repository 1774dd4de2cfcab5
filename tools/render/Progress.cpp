#include "tools/render/Progress.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace render {
namespace {

constexpr int kCells = 50;

void draw(int percent) {
    const auto filled = static_cast<std::size_t>(percent * kCells / 100);
    const std::string bar = std::string(filled, '#') + std::string(kCells - filled, '.');
    std::fprintf(stderr, "\r[%s] %3d %%%s", bar.c_str(), percent, percent == 100 ? "\n" : "");
}

} // namespace

ProgressSink progressBar() {
    if (isatty(STDERR_FILENO) == 0)
        return [](double) {};
    return [shown = -1](double fraction) mutable {
        const int percent = static_cast<int>(fraction * 100.0);
        if (percent != shown)
            draw(percent);
        shown = percent;
    };
}

} // namespace render
