/// tessella-editor: the plug-in's editor on the screen, without a workstation around it.
#include "host/PrivateShm.h"
#include "tools/editor/App.h"
#include "tools/render/Failure.h"
#include "tools/render/PluginPath.h"

#include <cstdio>
#include <exception>

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void interrupt(int /*signal*/) { gInterrupted = 1; }

void run(editor::Options options) {
    // First: in a namespace of one's own, a chroot's programs no longer know where they lie.
    options.plugin = render::findPlugin(options.plugin);
    if (options.privateRegistry && !host::enterPrivateShm())
        render::fail("the system allows no private registry (needs user namespaces or root)");
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    editor::App(options, gInterrupted).run();
}

int exitWith(render::ExitCode code, const char* message) {
    std::fprintf(stderr, "tessella-editor: %s\n", message);
    return static_cast<int>(code);
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (const auto options = editor::parseOptions(argc, argv))
            run(*options);
        return 0;
    } catch (const render::Failure& failure) {
        return exitWith(failure.code(), failure.what());
    } catch (const std::exception& error) {
        return exitWith(render::ExitCode::Failed, error.what());
    }
}
