/// The named object behind the registry: who made it, how old it is, whether the name still leads
/// to it. The name lies in a folder that everybody may write, so nothing is taken for granted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/stat.h>

namespace shm {

/// An open descriptor of the object, or none. Failures of the system raise std::system_error.
/// Nothing here waits for another process, but for RemoveIf. [any but audio]
class SegmentObject {
public:
    enum class Access { Read, ReadWrite };

    /// The object under the name, or none where there is no such name. Never follows a symbolic
    /// link, never waits for the other end of a pipe, and refuses what is no plain file.
    static SegmentObject OpenExisting(Access access);
    /// A new object, at its full size and with its memory reserved, or none where the name is
    /// taken. Leaves no name behind when there is no memory.
    static SegmentObject Create();

    SegmentObject() = default;
    SegmentObject(SegmentObject&& other) noexcept;
    SegmentObject& operator=(SegmentObject&& other) noexcept;
    ~SegmentObject();

    explicit operator bool() const { return descriptor >= 0; }
    [[nodiscard]] int Descriptor() const { return descriptor; }
    /// Size now, bytes.
    [[nodiscard]] std::size_t Size() const;
    /// Whether it belongs to the user of this process.
    [[nodiscard]] bool IsOwn() const;
    /// Whether it was made, or first written by somebody, in the last so many seconds.
    [[nodiscard]] bool IsYoung(int maxAgeSeconds) const;
    /// Whether the name leads here, and not to another object or to none.
    [[nodiscard]] bool IsNamed() const;
    /// Takes write permission from everybody else. What they have mapped already they keep.
    void CloseToOthers() const;

    /// Removes the name if it leads here and `unwanted()` holds. Those who remove an object do so
    /// one after the other, so that none removes the successor of what it has judged. Waits for the
    /// others up to 0.5 s, less where a LockBudget says so; then goes on without.
    template <class Unwanted>
    void RemoveIf(Unwanted&& unwanted) const {
        const Removal removal(*this);
        if (IsNamed() && unwanted())
            Unlink();
    }

private:
    /// Locks the object itself against other removers. Advisory: it gives nobody a hold on us.
    class Removal {
    public:
        explicit Removal(const SegmentObject& removed);
        ~Removal();
        Removal(const Removal&) = delete;
        Removal& operator=(const Removal&) = delete;

    private:
        const SegmentObject& object;
    };

    explicit SegmentObject(int fd) : descriptor(fd) {}
    [[nodiscard]] struct stat Status() const;
    static void Unlink();

    int descriptor = -1;
};

} // namespace shm
