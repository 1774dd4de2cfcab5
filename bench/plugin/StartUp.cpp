/// bench-startup: from loading the plug-in file to the end of the first block, of the first
/// instance and of each further up to the sixteenth. JSON to standard output, µs; a process each
/// time, so that nothing is loaded yet.
#include "host/AudioBuffers.h"
#include "host/HostCallbacks.h"
#include "host/Instance.h"
#include "host/PrivateShm.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

namespace {

constexpr std::uint32_t kFrames = 64;

struct Inserted {
    host::HostCallbacks callbacks;
    std::unique_ptr<host::Instance> instance;
};

/// A fresh instance's way to its first block.
void insert(const host::Library& library, Inserted& to, host::AudioBuffers& audio) {
    to.instance = std::make_unique<host::Instance>(library, to.callbacks);
    if (!to.instance->init() || !to.instance->activate(48000.0, 1, kFrames) ||
        !to.instance->startProcessing())
        throw host::HostError("refused");
    to.instance->process(audio, kFrames);
}

void run(const char* path) {
    using Clock = std::chrono::steady_clock;
    host::AudioBuffers audio(kFrames, host::SampleFormat::Float32);
    std::vector<Inserted> inserted(16);
    std::vector<double> microseconds;
    std::optional<host::Library> library;
    for (Inserted& next : inserted) {
        const auto start = Clock::now();
        if (!library)
            library.emplace(path);
        insert(*library, next, audio);
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::puts(nlohmann::json{{"first", microseconds.front()}, {"sixteenth", microseconds.back()}}
                  .dump()
                  .c_str());
    inserted.clear(); // ahead of the library
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (!host::enterPrivateShm())
            throw std::runtime_error("no private registry: run as root or allow user namespaces");
        run(argc > 1 ? argv[1] : TD_PLUGIN_PATH);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-startup: %s\n", error.what());
        return 1;
    }
}
