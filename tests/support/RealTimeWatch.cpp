#include "tests/support/RealTimeWatch.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <type_traits>
#include <ucontext.h>
#include <vector>

namespace {

// Constant-initialised and without destructors: they are used before main and in signal handlers.
thread_local bool watched = false;
thread_local support::Offences offences;

void countAllocation() {
    if (watched)
        ++offences.allocations;
}

using Arguments = std::array<long, 6>;

void count(int call, const Arguments& arguments) {
    if (!watched)
        return;
    // What shm/GuardedMapping.h does about SIGBUS.
    if (call == SYS_mmap && (arguments[3] & MAP_FIXED) != 0 &&
        static_cast<int>(arguments[4]) == -1) {
        ++offences.repairs;
        return;
    }
    ++offences.systemCalls;
    offences.lastSystemCall = call;
}

} // namespace

/// A system call from the one place that the trap lets through, which ends at untrappedEnd. The
/// kernel's answer, errors too.
extern "C" long untrappedCall(long call, long a, long b, long c, long d, long e, long f);
extern "C" const char untrappedEnd[];
#if defined(__x86_64__)
asm(R"(
    .text
    untrappedCall:
        mov %rdi, %rax
        mov %rsi, %rdi
        mov %rdx, %rsi
        mov %rcx, %rdx
        mov %r8, %r10
        mov %r9, %r8
        mov 8(%rsp), %r9
        syscall
    untrappedEnd:
        ret
)");
#elif defined(__aarch64__)
asm(R"(
    .text
    untrappedCall:
        mov x8, x0
        mov x0, x1
        mov x1, x2
        mov x2, x3
        mov x3, x4
        mov x4, x5
        mov x5, x6
        svc #0
    untrappedEnd:
        ret
)");
#endif

namespace {

void onTrappedCall(int /*signal*/, siginfo_t* info, void* context) {
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    auto* const r = registers.gregs;
    const Arguments a{r[REG_RDI], r[REG_RSI], r[REG_RDX], r[REG_R10], r[REG_R8], r[REG_R9]};
    auto& answer = r[REG_RAX];
#elif defined(__aarch64__)
    Arguments a{};
    std::copy_n(registers.regs, a.size(), a.begin());
    auto& answer = registers.regs[0];
#endif
    count(info->si_syscall, a);
    answer = static_cast<std::remove_reference_t<decltype(answer)>>(
        untrappedCall(info->si_syscall, a[0], a[1], a[2], a[3], a[4], a[5]));
}

/// Step of a filter program: goes on when the last loaded word has this value, else jumps.
constexpr sock_filter unlessEqual(std::uint64_t word, unsigned char jump) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(word), 0, jump);
}
constexpr sock_filter load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
constexpr sock_filter answer(std::uint32_t what) { return BPF_STMT(BPF_RET | BPF_K, what); }

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
    struct sigaction action {};
    action.sa_sigaction = onTrappedCall;
    action.sa_flags = SA_SIGINFO;
    if (sigaction(SIGSYS, &action, nullptr) != 0)
        return false;

    const auto end = reinterpret_cast<std::uintptr_t>(untrappedEnd);
    constexpr std::size_t kFrom = offsetof(seccomp_data, instruction_pointer); // its lower half
    // clang-format off
    std::vector<sock_filter> program = {
        load(kFrom), unlessEqual(end & 0xFFFFFFFFU, 3),
        load(kFrom + 4), unlessEqual(end >> 32U, 1), answer(SECCOMP_RET_ALLOW),
        load(offsetof(seccomp_data, nr))};
    constexpr int kAllowed[] = {
        SYS_clock_gettime, SYS_getrusage,     // the thread's own clocks
        SYS_rt_sigreturn, SYS_rt_sigprocmask, // end a handler
        SYS_madvise, SYS_munmap, SYS_exit,    // end the thread, with all signals blocked
    };
    // clang-format on
    for (const int call : kAllowed) {
        program.push_back(unlessEqual(static_cast<std::uint64_t>(call), 1));
        program.push_back(answer(SECCOMP_RET_ALLOW));
    }
    program.push_back(answer(SECCOMP_RET_TRAP));
    sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
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
