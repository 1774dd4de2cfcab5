#include "shm/GuardedMapping.h"

#include "shm/SegmentLayout.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <functional>
#include <mutex>
#include <sys/mman.h>
#include <system_error>
#include <utility>

namespace shm {
namespace {

/// Addresses of the mappings, null where there is none. Read by the handler: no lock, no
/// allocation.
std::array<std::atomic<char*>, 1024> sMappings{};

std::mutex sHandlerMutex; ///< guards the following
int sMappingCount = 0;
bool sInstalled = false;
struct sigaction sBefore {};

/// The mapping that holds an address, or null.
char* MappingOf(const void* address) {
    constexpr std::less_equal<const void*> notAbove; // the operator asks for one array
    for (const auto& entry : sMappings) {
        char* const begin = entry.load(std::memory_order_acquire);
        if (begin != nullptr && notAbove(begin, address) &&
            !notAbove(begin + kSegmentBytes, address))
            return begin;
    }
    return nullptr;
}

/// As if the handler had not been there.
void PassOn(int signal, siginfo_t* info, void* context) {
    if ((sBefore.sa_flags & SA_SIGINFO) != 0) {
        sBefore.sa_sigaction(signal, info, context);
    } else if (sBefore.sa_handler != SIG_DFL && sBefore.sa_handler != SIG_IGN) {
        sBefore.sa_handler(signal);
    } else {
        const bool sent = info->si_code <= 0; // by a process; else the fault repeats itself
        if (sent && sBefore.sa_handler == SIG_IGN)
            return;
        sigaction(signal, &sBefore, nullptr);
        if (sent)
            raise(signal);
    }
}

void OnBusError(int signal, siginfo_t* info, void* context) {
    const int error = errno;
    char* const begin = MappingOf(info->si_addr);
    // The whole mapping, so that no half of it goes on as a registry.
    if (info->si_code > 0 && begin != nullptr &&
        mmap(begin, kSegmentBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED,
             -1, 0) != MAP_FAILED)
        errno = error;
    else
        PassOn(signal, info, context);
}

bool IsOurs(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnBusError;
}

/// Puts the handler in place, unless it is, or is likely to be called by one installed since: two
/// that pass on to each other would never end.
void Install() {
    struct sigaction current {};
    sigaction(SIGBUS, nullptr, &current);
    const bool isDefault = (current.sa_flags & SA_SIGINFO) == 0 && current.sa_handler == SIG_DFL;
    if (IsOurs(current) || (sInstalled && !isDefault))
        return;
    struct sigaction own {};
    own.sa_sigaction = OnBusError;
    own.sa_flags = SA_SIGINFO | SA_ONSTACK | (current.sa_flags & SA_RESTART);
    own.sa_mask = current.sa_mask;
    sBefore = current;
    sInstalled = sigaction(SIGBUS, &own, nullptr) == 0;
}

/// Puts the former handler back, or, where another has been installed over ours and may call it,
/// keeps this library's code in the process for good.
void Uninstall() {
    struct sigaction current {};
    sigaction(SIGBUS, nullptr, &current);
    if (IsOurs(current)) {
        sigaction(SIGBUS, &sBefore, nullptr);
        sInstalled = false;
        return;
    }
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&OnBusError), &self) != 0)
        dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

bool Register(char* address) {
    for (auto& entry : sMappings) {
        char* none = nullptr;
        if (entry.compare_exchange_strong(none, address))
            return true;
    }
    return false;
}

} // namespace

GuardedMapping::GuardedMapping(const SegmentObject& object, SegmentObject::Access access) {
    const int protection =
        access == SegmentObject::Access::ReadWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    void* const mapped =
        mmap(nullptr, kSegmentBytes, protection, MAP_SHARED, object.Descriptor(), 0);
    if (mapped == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), kSegmentName);
    if (!Register(static_cast<char*>(mapped))) {
        munmap(mapped, kSegmentBytes);
        throw std::system_error(ENOMEM, std::generic_category(), kSegmentName);
    }
    address = mapped;
    const std::lock_guard guard(sHandlerMutex);
    ++sMappingCount;
    Install();
}

GuardedMapping::GuardedMapping(GuardedMapping&& other) noexcept
    : address(std::exchange(other.address, nullptr)) {}

GuardedMapping& GuardedMapping::operator=(GuardedMapping&& other) noexcept {
    std::swap(address, other.address);
    return *this;
}

GuardedMapping::~GuardedMapping() {
    if (address == nullptr)
        return;
    for (auto& entry : sMappings)
        if (entry.load(std::memory_order_relaxed) == address)
            entry.store(nullptr, std::memory_order_release);
    munmap(address, kSegmentBytes);
    const std::lock_guard guard(sHandlerMutex);
    if (--sMappingCount == 0)
        Uninstall();
}

} // namespace shm
