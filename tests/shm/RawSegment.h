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

inline constexpr std::size_t Slot(int k) { return 56 + 5376 * static_cast<std::size_t>(k); }

/// A mapping of the object, which must exist; growing or creating it with Make.
class Segment {
public:
    explicit Segment(std::size_t bytes = kBytes) : size(bytes) {
        const int fd = open(kPath, O_RDWR | O_CLOEXEC);
        if (fd < 0)
            throw std::runtime_error("no segment to look at");
        base = static_cast<char*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        close(fd);
    }
    ~Segment() { munmap(base, size); }
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

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
    std::string Name(int k) const { return {base + Slot(k) + kName, 64}; }
    char* Bytes() { return base; }
    pthread_mutex_t* Mutex() { return reinterpret_cast<pthread_mutex_t*>(base + kMutex); }

private:
    std::size_t size;
    char* base;
};

inline void Remove() { unlink(kPath); }
inline bool Exists() { return access(kPath, F_OK) == 0; }

inline struct stat Stat() {
    struct stat status {};
    EXPECT_EQ(stat(kPath, &status), 0);
    return status;
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
    Segment segment(bytes);
    segment.Put(kVersion, version);
    segment.Put(Slot(0) + kId, std::uint64_t{0x1234});
    segment.Put(Slot(0) + kActive, active);
    segment.Put(Slot(0) + kHeartbeat, heartbeat);
    std::memcpy(segment.Bytes() + kMagic, magic, 4);
}

/// Keeps the registry lock busy while it lives.
class HeldLock {
public:
    HeldLock() { pthread_mutex_lock(segment.Mutex()); }
    ~HeldLock() { pthread_mutex_unlock(segment.Mutex()); }

private:
    Segment segment;
};

/// Starts and ends every test without a registry.
class RegistryTest : public testing::Test {
protected:
    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }
};

inline double SecondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace raw
