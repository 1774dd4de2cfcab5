/// An open file of libsndfile.
#pragma once

#include <memory>
#include <sndfile.h>

namespace tools {

struct SoundCloser {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using SoundHandle = std::unique_ptr<SNDFILE, SoundCloser>;

} // namespace tools
