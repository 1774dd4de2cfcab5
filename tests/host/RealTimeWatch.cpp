#include "tests/host/RealTimeWatch.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

namespace {

// Constant-initialised and without destructors: they are used before main and in signal handlers.
thread_local bool watched = false;
thread_local support::Offences offences;

void countAllocation() {
    if (watched)
        ++offences.allocations;
}

void onTrappedCall(int /*signal*/, siginfo_t* info, void* context) {
    if (watched) {
        ++offences.systemCalls;
        offences.lastSystemCall = info->si_syscall;
    }
    // An answer that the C library can bear: it tidies up at the thread's end.
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    registers.gregs[REG_RAX] = -ENOSYS;
#elif defined(__aarch64__)
    registers.regs[0] = static_cast<unsigned long long>(-ENOSYS);
#endif
}

} // namespace

#define TD_REPLACES extern "C" __attribute__((visibility("default")))

// The C library's own entries: finding them with dlsym would itself allocate.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the C library's names
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

// operator new and delete end here as well.
TD_REPLACES void* malloc(std::size_t size) {
    countAllocation();
    return __libc_malloc(size);
}
TD_REPLACES void* calloc(std::size_t count, std::size_t size) {
    countAllocation();
    return __libc_calloc(count, size);
}
TD_REPLACES void* realloc(void* block, std::size_t size) {
    countAllocation();
    return __libc_realloc(block, size);
}
TD_REPLACES void free(void* block) {
    if (block != nullptr)
        countAllocation();
    __libc_free(block);
}
TD_REPLACES void* aligned_alloc(std::size_t alignment, std::size_t size) {
    countAllocation();
    return __libc_memalign(alignment, size);
}

// Only locks that wait. Condition variables and sleeps need no replacement: those always are
// system calls.
TD_REPLACES int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto original =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (watched)
        ++offences.locks;
    return original(mutex);
}

namespace support {

bool trapSystemCalls() {
    // A stock for the offences themselves: they are to be counted, not to fail for want of memory.
    void* volatile const stock = malloc(64 * 1024); // volatile: a useless pair would be dropped
    free(stock);

    struct sigaction action {};
    action.sa_sigaction = onTrappedCall;
    action.sa_flags = SA_SIGINFO;
    if (sigaction(SIGSYS, &action, nullptr) != 0)
        return false;

    // clang-format off
    constexpr int kAllowed[] = {
        SYS_clock_gettime,
        SYS_rt_sigreturn, // ends the handler
        SYS_rt_sigprocmask, SYS_madvise, SYS_munmap, SYS_exit, // end the thread
    };
    // clang-format on
    constexpr auto kCount = std::size(kAllowed);
    sock_filter program[kCount + 3];
    program[0] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    for (std::size_t i = 0; i < kCount; ++i) // a hit jumps over the rest and over the trap
        program[1 + i] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(kAllowed[i]),
                                  static_cast<unsigned char>(kCount - i), 0);
    program[kCount + 1] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    program[kCount + 2] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    sock_fprog filter{static_cast<unsigned short>(kCount + 3), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0;
}

RealTimeWatch::RealTimeWatch() {
    offences = {};
    watched = true;
}

RealTimeWatch::~RealTimeWatch() { watched = false; }

Offences RealTimeWatch::seen() const { return offences; }

} // namespace support
