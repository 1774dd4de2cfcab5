#include "tools/editor/SoundOut.h"

#include <RtAudio.h>

#include <exception>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>

namespace editor {
namespace {

/// While one lives, nothing is written to the standard error stream: the sound libraries would
/// tell of each kind of device that they look for in vain.
class NoErrorOutput {
public:
    NoErrorOutput() : kept(dup(STDERR_FILENO)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~NoErrorOutput() {
        dup2(kept, STDERR_FILENO);
        close(kept);
    }
    NoErrorOutput(const NoErrorOutput&) = delete;
    NoErrorOutput& operator=(const NoErrorOutput&) = delete;

private:
    int kept;
};

/// RtAudio 5 throws, RtAudio 6 returns an error that is 0 for none.
template <typename Call>
bool succeeds(const Call& call) {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
            call();
            return true;
        } else {
            return call() == 0;
        }
    } catch (const std::exception&) {
        return false;
    }
}

int onBlock(void* output, void* /*input*/, unsigned frames, double /*time*/,
            RtAudioStreamStatus /*status*/, void* mixer) {
    static_cast<Mixer*>(mixer)->render(static_cast<float*>(output), frames);
    return 0;
}

class RtAudioOut : public SoundOut {
public:
    explicit RtAudioOut(Mixer& played) : mixer(played) { audio.showWarnings(false); }

    bool open() {
        if (audio.getDeviceCount() == 0)
            return false;
        RtAudio::StreamParameters output;
        output.deviceId = audio.getDefaultOutputDevice();
        output.nChannels = Mixer::kChannels;
        unsigned frames = 256; // a wish
        return succeeds([&] { deviceName = audio.getDeviceInfo(output.deviceId).name; }) &&
               succeeds([&] {
                   return audio.openStream(&output, nullptr, RTAUDIO_FLOAT32, mixer.sampleRate(),
                                           &frames, onBlock, &mixer);
               }) &&
               succeeds([&] { return audio.startStream(); });
    }

    [[nodiscard]] std::string name() const override { return deviceName; }

private:
    Mixer& mixer;
    RtAudio audio; ///< ends the stream when it goes
    std::string deviceName;
};

} // namespace

std::unique_ptr<SoundOut> openDefaultDevice(Mixer& mixer) {
    const NoErrorOutput quiet;
    auto device = std::make_unique<RtAudioOut>(mixer);
    if (!device->open())
        return nullptr;
    return device;
}

} // namespace editor
