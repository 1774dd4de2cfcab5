#include "tools/editor/SoundOut.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace editor {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kBlock = 256;
constexpr std::chrono::milliseconds kGiveUpLag{200};

class SilentOut : public SoundOut {
public:
    explicit SilentOut(Mixer& played) : mixer(played), thread([this] { play(); }) {}
    ~SilentOut() override {
        stop = true;
        thread.join();
    }
    [[nodiscard]] std::string name() const override { return "silence in real time"; }

private:
    void play() {
        std::vector<float> block(std::size_t{kBlock} * Mixer::kChannels);
        const auto length = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(kBlock) / mixer.sampleRate()));
        auto due = Clock::now();
        while (!stop) {
            mixer.render(block.data(), kBlock);
            due += length;
            // A busy machine: what is lost is lost, as with a device.
            if (Clock::now() - due > kGiveUpLag)
                due = Clock::now();
            std::this_thread::sleep_until(due);
        }
    }

    Mixer& mixer;
    std::atomic<bool> stop{false};
    std::thread thread; ///< last: it uses the others
};

} // namespace

std::unique_ptr<SoundOut> playSilently(Mixer& mixer) { return std::make_unique<SilentOut>(mixer); }

} // namespace editor
