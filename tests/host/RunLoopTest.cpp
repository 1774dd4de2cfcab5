#include "host/RunLoop.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

host::EventSources* sources;
std::vector<clap_id> timers;
int fired;
std::vector<clap_posix_fd_flags_t> ready;

/// A plug-in of two timers, whose first ends both, and of a descriptor.
const void* extensionOf(const clap_plugin_t* /*plugin*/, const char* id) {
    static const clap_plugin_timer_support_t kTimers{[](const auto*, clap_id) {
        ++fired;
        for (const clap_id timer : timers)
            EXPECT_TRUE(sources->removeTimer(timer));
    }};
    static const clap_plugin_posix_fd_support_t kFds{
        [](const auto*, int, clap_posix_fd_flags_t flags) { ready.push_back(flags); }};
    const bool isTimer = std::string_view(id) == CLAP_EXT_TIMER_SUPPORT;
    return isTimer ? static_cast<const void*>(&kTimers) : &kFds;
}

TEST(RunLoop, CallsOnlyWhatIsStillRegistered) {
    host::HostCallbacks callbacks;
    sources = &callbacks.eventSources();
    clap_plugin_t plugin{};
    plugin.destroy = [](const clap_plugin_t*) {};
    plugin.get_extension = extensionOf;
    host::Instance instance(callbacks, &plugin);
    host::RunLoop loop;
    loop.add(instance);
    timers = {sources->addTimer(1), sources->addTimer(1)};
    for (int turn = 0; turn < 3; ++turn, std::this_thread::sleep_for(30ms))
        loop.runOnce(30ms);
    EXPECT_EQ(fired, 1);

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_TRUE(sources->addFd(ends[0], CLAP_POSIX_FD_READ));
    EXPECT_FALSE(sources->addFd(ends[0], CLAP_POSIX_FD_READ)) << "twice";
    loop.runOnce(0ms);
    EXPECT_TRUE(ready.empty());
    close(ends[1]);
    loop.runOnce(0ms);
    EXPECT_EQ(ready, std::vector{CLAP_POSIX_FD_READ + 0U}) << "its end is readable, too";
    ASSERT_TRUE(sources->modifyFd(ends[0], CLAP_POSIX_FD_WRITE));
    loop.runOnce(0ms);
    ASSERT_TRUE(sources->removeFd(ends[0]));
    loop.runOnce(0ms);
    EXPECT_EQ(ready.size(), 1U);
    close(ends[0]);
}

} // namespace
