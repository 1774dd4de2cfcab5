/// The CLAP extension records that the packaged header subset lacks, under their official names.
/// Each declaration steps aside where complete upstream headers bring the real one.
#pragma once

#include <clap/entry.h>
#include <clap/events.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/thread-check.h>
#include <clap/ext/timer-support.h>
#include <clap/host.h>
#include <clap/plugin-features.h>
#include <clap/plugin.h>
#include <clap/process.h>

#include <cstdint>

#if __has_include(<clap/factory/plugin-factory.h>)
#include <clap/factory/plugin-factory.h>
#else
#include <clap/plugin-factory.h>
#endif

/// The CLAP version this library speaks, whatever version the headers say they are.
inline constexpr clap_version_t kClapVersion = {1, 2, 10};

// NOLINTBEGIN(modernize-use-using,readability-identifier-naming): C records of a foreign interface
#if __has_include(<clap/ext/audio-ports-config.h>)
#include <clap/ext/audio-ports-config.h>
#else
inline constexpr char CLAP_EXT_AUDIO_PORTS_CONFIG[] = "clap.audio-ports-config";

struct clap_audio_ports_config_t {
    clap_id id;
    char name[CLAP_NAME_SIZE];
    std::uint32_t input_port_count;
    std::uint32_t output_port_count;
    bool has_main_input;
    std::uint32_t main_input_channel_count;
    const char* main_input_port_type;
    bool has_main_output;
    std::uint32_t main_output_channel_count;
    const char* main_output_port_type;
};
static_assert(sizeof(clap_audio_ports_config_t) == 304);

struct clap_plugin_audio_ports_config_t {
    std::uint32_t (*count)(const clap_plugin_t* plugin);
    bool (*get)(const clap_plugin_t* plugin, std::uint32_t index,
                clap_audio_ports_config_t* config);
    bool (*select)(const clap_plugin_t* plugin, clap_id config_id);
};
#endif

#if __has_include(<clap/ext/tail.h>)
#include <clap/ext/tail.h>
#else
inline constexpr char CLAP_EXT_TAIL[] = "clap.tail";

struct clap_plugin_tail_t {
    std::uint32_t (*get)(const clap_plugin_t* plugin);
};

struct clap_host_tail_t {
    void (*changed)(const clap_host_t* host);
};
#endif

#if __has_include(<clap/ext/render.h>)
#include <clap/ext/render.h>
#else
inline constexpr char CLAP_EXT_RENDER[] = "clap.render";

enum : std::int32_t { CLAP_RENDER_REALTIME = 0, CLAP_RENDER_OFFLINE = 1 };
using clap_plugin_render_mode = std::int32_t;

struct clap_plugin_render_t {
    bool (*has_hard_realtime_requirement)(const clap_plugin_t* plugin);
    bool (*set)(const clap_plugin_t* plugin, clap_plugin_render_mode mode);
};
#endif

#if __has_include(<clap/ext/log.h>)
#include <clap/ext/log.h>
#else
inline constexpr char CLAP_EXT_LOG[] = "clap.log";

enum : std::int32_t {
    CLAP_LOG_DEBUG = 0,
    CLAP_LOG_INFO = 1,
    CLAP_LOG_WARNING = 2,
    CLAP_LOG_ERROR = 3,
    CLAP_LOG_FATAL = 4,
    CLAP_LOG_HOST_MISBEHAVING = 5,
    CLAP_LOG_PLUGIN_MISBEHAVING = 6
};
using clap_log_severity = std::int32_t;

struct clap_host_log_t {
    void (*log)(const clap_host_t* host, clap_log_severity severity, const char* msg);
};
#endif

#if __has_include(<clap/ext/posix-fd-support.h>)
#include <clap/ext/posix-fd-support.h>
#else
inline constexpr char CLAP_EXT_POSIX_FD_SUPPORT[] = "clap.posix-fd-support";

enum : std::uint32_t {
    CLAP_POSIX_FD_READ = 1 << 0,
    CLAP_POSIX_FD_WRITE = 1 << 1,
    CLAP_POSIX_FD_ERROR = 1 << 2
};
using clap_posix_fd_flags_t = std::uint32_t;

struct clap_plugin_posix_fd_support_t {
    void (*on_fd)(const clap_plugin_t* plugin, int fd, clap_posix_fd_flags_t flags);
};

struct clap_host_posix_fd_support_t {
    bool (*register_fd)(const clap_host_t* host, int fd, clap_posix_fd_flags_t flags);
    bool (*modify_fd)(const clap_host_t* host, int fd, clap_posix_fd_flags_t flags);
    bool (*unregister_fd)(const clap_host_t* host, int fd);
};
#endif
// NOLINTEND(modernize-use-using,readability-identifier-naming)
