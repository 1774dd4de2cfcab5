#include "shm/GuardedMapping.h"
#include "tests/support/Test.h"

#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>

namespace {

using shm::GuardedMapping;
using shm::SegmentObject;

/// Mapped memory of an object that has been cut off.
char* lostMemory() {
    const int fd = memfd_create("lost", MFD_CLOEXEC);
    void* const lost = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    return static_cast<char*>(lost);
}

char touch(const char* memory) { return *static_cast<const volatile char*>(memory); }

sigjmp_buf sBack;
const void* volatile sFaultAt = nullptr;

void hostsHandler(int, siginfo_t* info, void*) {
    sFaultAt = info->si_addr;
    siglongjmp(sBack, 1);
}
void hostsPlainHandler(int) { siglongjmp(sBack, 1); }
void laterHandler(int, siginfo_t*, void*) {}

struct sigaction installed() {
    struct sigaction action {};
    sigaction(SIGBUS, nullptr, &action);
    return action;
}

/// Whether the host's handler is asked about memory that is not ours.
bool reachesTheHost(const char* lost) {
    if (sigsetjmp(sBack, 1) != 0)
        return true;
    (void)touch(lost);
    return false;
}

/// One host: its own handler, two mappings of the registry one after the other, a fault in the
/// registry and one elsewhere. Ends with 0 when all is as it should be, by SIGBUS, or with the
/// number of what is wrong.
[[noreturn]] void runHost(struct sigaction own, bool coverOurs) {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none); // dying is part of it
    alarm(20);                     // a fault that nobody answers repeats itself
    sigaction(SIGBUS, &own, nullptr);
    const struct sigaction before = installed();
    const char* const lost = lostMemory();
    std::optional<GuardedMapping> first, second;
    const auto map = [] {
        const auto object = SegmentObject::OpenExisting(SegmentObject::Access::ReadWrite);
        return GuardedMapping(object, SegmentObject::Access::ReadWrite);
    };
    first.emplace(map());
    second.emplace(map());
    if (coverOurs) {
        struct sigaction later {};
        later.sa_flags = SA_SIGINFO;
        later.sa_sigaction = laterHandler;
        sigaction(SIGBUS, &later, nullptr);
        first.reset();
        second.reset();
        _exit(installed().sa_sigaction == laterHandler ? 0 : 1);
    }
    if (truncate(raw::kPath, 0) != 0 ||
        touch(static_cast<const char*>(first->Address()) + raw::kMagic) != 0)
        _exit(2);
    first.reset();
    if (touch(static_cast<const char*>(second->Address())) != 0) // the handler is still there
        _exit(3);
    if (!reachesTheHost(lost) || (before.sa_flags & SA_SIGINFO && sFaultAt != lost))
        _exit(4);
    second.reset();
    const struct sigaction after = installed();
    if (after.sa_flags != before.sa_flags || after.sa_sigaction != before.sa_sigaction)
        _exit(5);
    _exit(reachesTheHost(lost) ? 0 : 6);
}

TEST(GuardedMapping, PassesForeignFaultsOnAndPutsTheFormerHandlerBack) {
    struct sigaction full {
    }, plain{}, ignored{}, none{};
    full.sa_flags = SA_SIGINFO;
    full.sa_sigaction = hostsHandler;
    plain.sa_handler = hostsPlainHandler;
    ignored.sa_handler = SIG_IGN;
    none.sa_handler = SIG_DFL;
    const struct {
        const char* host;
        struct sigaction own;
        bool coverOurs, dies;
    } cases[] = {{"with a handler of its own", full, false, false},
                 {"with a plain one", plain, false, false},
                 {"that ignores SIGBUS, which faults do not heed", ignored, false, true},
                 {"without a handler", none, false, true},
                 {"that installs one later", none, true, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        raw::Make(raw::kBytes, 10, "GRDT", 1, 0);
        if (c.dies)
            EXPECT_EXIT(runHost(c.own, c.coverOurs), testing::KilledBySignal(SIGBUS), "");
        else
            EXPECT_EXIT(runHost(c.own, c.coverOurs), testing::ExitedWithCode(0), "");
    }
    raw::Remove();
}

} // namespace
