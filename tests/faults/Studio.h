/// A host process with pairs of instances of the built plug-in that plays all the while something
/// happens to the registry.
#pragma once

#include "tests/faults/Fault.h"

#include <optional>

namespace faults {

/// Pairs of a kick and a bass. A kick plays noise and keeps its level: what comes out must be what
/// went in, two frames earlier. A bass plays noise as well and ducks against its kick wherever that
/// sounds: it must stay finite and not get louder, and is ducked as long as it hears the kick. An
/// audio thread plays them all, under a watch that counts what an audio thread must not do; a main
/// thread saves the first bass's state again and again.
class Studio {
public:
    static constexpr std::size_t kMaxPairs = 2;
    struct Setup {
        std::size_t pairs = 1;
        bool paired = true;
        std::uint32_t block = 128;     ///< samples; divides 8192
        bool realTime = false;         ///< at the pace of 48 kHz; else a little faster
        std::optional<int> editorAt{}; ///< the first kick's, on $DISPLAY: its left edge, px
        bool visitors = false;         ///< the main thread opens and closes instances, too
    };

    /// Throws when they do not play, and unless told otherwise, duck in one of 100 looks.
    explicit Studio(const Setup& setup);
    explicit Studio(bool paired = true) : Studio(Setup{.paired = paired}) {}
    ~Studio();
    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;

    [[nodiscard]] pid_t process() const { return child; }
    /// The instance ids; 0 without a registry.
    [[nodiscard]] std::uint64_t kick(std::size_t pair = 0) const;
    [[nodiscard]] std::uint64_t bass(std::size_t pair = 0) const;

    /// Pairs kicks with basses again, whoever has taken one of them. False when they are not all
    /// there.
    [[nodiscard]] bool pair() const;
    /// Whether all basses are ducked in most of twenty blocks from now on.
    [[nodiscard]] bool isDucked() const;
    /// In one of 100 such looks: on a busy machine one may miss some blocks.
    [[nodiscard]] bool comesToDuck() const;
    /// Waits until the registry that newcomers find has all, linked, with the kicks' name and flag
    /// as they were, and the basses are ducked.
    [[nodiscard]] bool isBack() const;
    /// What has been measured; a problem unless the process lives, plays on, and no block was
    /// wrong, went to sleep or called what an audio thread must not call.
    [[nodiscard]] Row report() const;

    /// The longest processor time of all blocks of one period, µs, and the number of periods.
    [[nodiscard]] double longestPeriodUs() const;
    [[nodiscard]] std::uint64_t periods() const;
    /// Periods whose blocks took longer than they last.
    [[nodiscard]] std::uint64_t missed() const;
    /// Instances that the main thread has opened and closed.
    [[nodiscard]] std::uint64_t visitors() const;

    struct Shared;

private:
    [[nodiscard]] bool isListed() const;
    [[nodiscard]] std::uint64_t blocksIn(int samples) const;

    const Setup setup;
    Shared& shared;
    pid_t child;
};

} // namespace faults
