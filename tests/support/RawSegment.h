/// The registry seen as bytes: offsets written down here a second time, so that a shifted field in
/// the code under test cannot hide. Used by one test program, in its private /dev/shm.
#pragma once

#include <cstdint>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace raw {

inline constexpr const char* kPath = "/dev/shm/td_spectral_registry";
inline constexpr std::size_t kBytes = 86080;
inline constexpr std::size_t kVersion = 0, kMutex = 8, kHighWater = 48, kMagic = 86072;

// Offsets inside a slot.
inline constexpr std::size_t kId = 0, kRemote = 8, kName = 16, kActive = 80, kLatency = 84,
                             kHeartbeat = 88, kState = 96, kGr = 108, kBandCount = 120,
                             kBandsSeq = 128, kBands = 136, kHp = 196, kLp = 200, kHpLpSeq = 208,
                             kControls = 216, kControlsSeq = 232, kBypass = 240, kDuckSelf = 241,
                             kAudioSeq = 248, kDisplayBins = 256, kAudioBins = 1280;

constexpr std::size_t Slot(std::size_t k) { return 56 + 5376 * k; }

/// A mapping of the object, which must exist.
struct Segment {
    Segment() {
        const int fd = open(kPath, O_RDWR | O_CLOEXEC);
        base = static_cast<char*>(mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        close(fd);
    }
    ~Segment() { munmap(base, kBytes); }
    Segment(const Segment&) = delete;

    template <class T>
    T Get(std::size_t offset) const {
        T value;
        std::memcpy(&value, base + offset, sizeof value);
        return value;
    }
    template <class T>
    void Put(std::size_t offset, T value) {
        std::memcpy(base + offset, &value, sizeof value);
    }
    pthread_mutex_t* Mutex() { return reinterpret_cast<pthread_mutex_t*>(base + kMutex); }

    char* base;
};

inline void Remove() { unlink(kPath); }

/// Inode, mode and size of the object.
inline struct stat Stat() {
    struct stat status {};
    stat(kPath, &status);
    return status;
}

/// Sets back by that many seconds when the object was made.
inline void Age(std::int64_t seconds) {
    const timespec made{.tv_sec = std::time(nullptr) - seconds, .tv_nsec = 0};
    const timespec times[] = {made, made};
    utimensat(AT_FDCWD, kPath, times, 0);
}

/// An object of that size with version, magic and one slot with the given activity. No mutex:
/// zero bytes are an unlocked one.
inline void Make(std::size_t bytes, std::uint32_t version, const char* magic, std::uint8_t active,
                 std::int64_t heartbeat) {
    Remove();
    const int fd = open(kPath, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    ASSERT_EQ(ftruncate(fd, static_cast<off_t>(bytes)), 0);
    close(fd);
    if (bytes < kBytes)
        return;
    Segment segment;
    segment.Put(kVersion, version);
    segment.Put(Slot(0) + kId, std::uint64_t{0x1234});
    segment.Put(Slot(0) + kActive, active);
    segment.Put(Slot(0) + kHeartbeat, heartbeat);
    std::memcpy(segment.base + kMagic, magic, 4);
}

/// Keeps the registry lock busy while it lives.
struct HeldLock {
    HeldLock() { pthread_mutex_lock(segment.Mutex()); }
    ~HeldLock() { pthread_mutex_unlock(segment.Mutex()); }
    Segment segment;
};

/// Starts and ends every test without a registry.
class RegistryTest : public testing::Test {
protected:
    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }
};

} // namespace raw
