#include "host/RunLoop.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

/// A plug-in of timers and descriptors alone. Timer `cutter` ends itself and `victim`.
struct LoopPlugin {
    clap_plugin_t record{};
    const clap_host_timer_support_t* timers = nullptr;
    const clap_host_posix_fd_support_t* fds = nullptr;
    const clap_host_t* host;
    clap_id cutter = 0, victim = 0;
    std::vector<clap_id> fired;
    std::vector<clap_posix_fd_flags_t> flags;

    explicit LoopPlugin(const clap_host_t* owner) : host(owner) {
        timers = static_cast<const clap_host_timer_support_t*>(
            host->get_extension(host, CLAP_EXT_TIMER_SUPPORT));
        fds = static_cast<const clap_host_posix_fd_support_t*>(
            host->get_extension(host, CLAP_EXT_POSIX_FD_SUPPORT));
        record.plugin_data = this;
        record.destroy = [](const clap_plugin_t*) {};
        record.get_extension = [](const clap_plugin_t*, const char* id) -> const void* {
            static const clap_plugin_timer_support_t kTimers{onTimer};
            static const clap_plugin_posix_fd_support_t kFds{onFd};
            const bool isTimer = std::string_view(id) == CLAP_EXT_TIMER_SUPPORT;
            return isTimer ? static_cast<const void*>(&kTimers) : &kFds;
        };
    }
    static LoopPlugin& of(const clap_plugin_t* p) {
        return *static_cast<LoopPlugin*>(p->plugin_data);
    }
    static void onTimer(const clap_plugin_t* p, clap_id id) {
        of(p).fired.push_back(id);
        EXPECT_TRUE(of(p).timers->unregister_timer(of(p).host, of(p).cutter));
        EXPECT_TRUE(of(p).timers->unregister_timer(of(p).host, of(p).victim));
    }
    static void onFd(const clap_plugin_t* p, int /*fd*/, clap_posix_fd_flags_t flags) {
        of(p).flags.push_back(flags);
    }
};

TEST(RunLoop, CallsOnlyWhatIsStillRegistered) {
    host::HostCallbacks callbacks;
    LoopPlugin plugin(callbacks.record());
    host::Instance instance(callbacks, &plugin.record);
    host::RunLoop loop;
    loop.add(instance);
    ASSERT_TRUE(plugin.timers->register_timer(plugin.host, 1, &plugin.cutter));
    ASSERT_TRUE(plugin.timers->register_timer(plugin.host, 1, &plugin.victim));
    for (int turn = 0; turn < 3; ++turn, std::this_thread::sleep_for(30ms))
        loop.runOnce(30ms);
    EXPECT_EQ(plugin.fired, std::vector{plugin.cutter});

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_TRUE(plugin.fds->register_fd(plugin.host, ends[0], CLAP_POSIX_FD_READ));
    EXPECT_FALSE(plugin.fds->register_fd(plugin.host, ends[0], CLAP_POSIX_FD_READ)) << "twice";
    loop.runOnce(0ms);
    EXPECT_TRUE(plugin.flags.empty());
    close(ends[1]);
    loop.runOnce(0ms);
    EXPECT_EQ(plugin.flags, std::vector{CLAP_POSIX_FD_READ + 0U}) << "its end is readable, too";
    ASSERT_TRUE(plugin.fds->modify_fd(plugin.host, ends[0], CLAP_POSIX_FD_WRITE));
    loop.runOnce(0ms);
    ASSERT_TRUE(plugin.fds->modify_fd(plugin.host, ends[0], CLAP_POSIX_FD_READ));
    ASSERT_TRUE(plugin.fds->unregister_fd(plugin.host, ends[0]));
    loop.runOnce(0ms);
    EXPECT_EQ(plugin.flags.size(), 1U);
    close(ends[0]);
    std::thread([&] { // a plug-in's own thread has no business there
        EXPECT_FALSE(plugin.timers->register_timer(plugin.host, 1, &plugin.cutter));
    })
        .join();
}

} // namespace
