// Stands in for RtAudioOut.cpp in a build without RtAudio.
#include "tools/editor/SoundOut.h"

namespace editor {

std::unique_ptr<SoundOut> openDefaultDevice(Mixer& /*mixer*/) { return nullptr; }

} // namespace editor
