/// Any bytes as a saved state: loaded, saved, loaded again and played. One instance takes them all,
/// one after another, as a host that recalls presets does.
#include "tests/fuzz/Subject.h"

#include <algorithm>

namespace {

using fuzz::demand;
using fuzz::Subject;

Subject& subject() {
    static Subject only;
    return only;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    iplug::IByteChunk input;
    input.PutBytes(data, size);
    TessellaDuckwork& plug = subject().plug;
    const int result = plug.UnserializeState(input, 0);
    demand(result == -1 || (result > 0 && result <= input.Size()), "the result is a position");
    subject().checkParameters();

    const iplug::IByteChunk first = subject().save();
    demand(plug.UnserializeState(first, 0) == fuzz::kWholeChunk, "a saved chunk loads whole");
    const iplug::IByteChunk second = subject().save();
    demand(std::equal(first.Data(), first.Data() + first.Size(), second.Data(),
                      second.Data() + second.Size()),
           "saving again gives the same");
    subject().playBlock();
    subject().checkParameters();
    return 0;
}
