#pragma once

#include "shm/SegmentLayout.h"
#include "tests/fuzz/Demand.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

/// The registry that stands now, past all its rules.
class MappedRegistry {
public:
    MappedRegistry() {
        const int file = shm_open(shm::kSegmentName, O_RDWR | O_CLOEXEC, 0);
        demand(file >= 0, "there is a registry");
        address = mmap(nullptr, shm::kSegmentBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        demand(address != MAP_FAILED, "the registry can be mapped");
    }
    ~MappedRegistry() { munmap(address, shm::kSegmentBytes); }
    MappedRegistry(const MappedRegistry&) = delete;
    MappedRegistry& operator=(const MappedRegistry&) = delete;

    [[nodiscard]] unsigned char* bytes() const { return static_cast<unsigned char*>(address); }
    shm::RegistrySegment* operator->() const { return static_cast<shm::RegistrySegment*>(address); }

private:
    void* address;
};

} // namespace fuzz
