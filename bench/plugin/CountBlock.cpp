/// count-block: what callgrind counts of the whole plug-in file for tools/check-instructions.
#include "bench/plugin/Player.h"
#include "host/PrivateShm.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

constexpr double kRate = 192000.0;
constexpr std::uint32_t kBlock = 64, kHop = 2048;

/// A block of one of the two; a name that callgrind can be told.
[[gnu::noinline]] void countedBlock(bench::Player& player, std::uint32_t at) {
    player.block(at, kBlock);
}

} // namespace

/// Plays a pair for so many hops. Counted are blocks that complete no frame, 31 of the 32 in a hop:
/// some publish a spectrum or take in the peer's, most do not.
int main(int argc, char** argv) {
    try {
        if (argc < 2 || !host::enterPrivateShm())
            return 2;
        bench::Rack rack(2);
        rack.setPaired(true);
        rack.start(2, kRate, kBlock);
        std::uint32_t at = 0;
        for (int block = 0; block < std::atoi(argv[1]) * int(kHop / kBlock); ++block) {
            const bool completesFrame = (at + kBlock) % kHop == 0;
            for (const std::size_t player : {0U, 1U})
                if (completesFrame)
                    rack[player].block(at, kBlock);
                else
                    countedBlock(rack[player], at);
            at = (at + kBlock) % bench::kLapFrames;
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "count-block: %s\n", error.what());
        return 1;
    }
}
