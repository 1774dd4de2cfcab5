/// A host process with two instances of the built plug-in that plays all the while something
/// happens to the registry.
#pragma once

#include "tests/faults/Fault.h"

namespace faults {

/// Kick plays noise and keeps its level: what comes out must be what went in, two frames earlier.
/// Bass plays noise as well and ducks against the kick wherever it sounds: it must stay finite and
/// not get louder, and is ducked as long as it hears the kick. An audio thread plays both, a main
/// thread saves the bass's state again and again.
class Studio {
public:
    /// Throws when the two do not play, and unless told otherwise, duck within 20 s.
    explicit Studio(bool paired = true);
    ~Studio();
    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;

    [[nodiscard]] pid_t process() const { return child; }
    /// The instance ids; 0 without a registry.
    [[nodiscard]] std::uint64_t kick() const { return kickId; }
    [[nodiscard]] std::uint64_t bass() const { return bassId; }

    /// Pairs the two again, whoever has taken one of them. False when they are not both there.
    [[nodiscard]] bool pair() const;
    /// Whether the bass is ducked in most of twenty blocks from now on.
    [[nodiscard]] bool isDucked() const;
    /// Waits until the registry that newcomers find has both, linked, with the kick's name and flag
    /// as they were, and the bass is ducked.
    [[nodiscard]] bool isBack() const;
    /// What has been measured; a problem unless the process lives, plays on, and no block was wrong
    /// or went to sleep.
    [[nodiscard]] Row report() const;

    struct Shared;

private:
    [[nodiscard]] bool isListed() const;

    Shared& shared;
    pid_t child;
    std::uint64_t kickId = 0, bassId = 0;
};

} // namespace faults
