#include "host/PrivateShm.h"
#include "tools/render/Failure.h"
#include "tools/render/Options.h"
#include "tools/render/Picture.h"
#include "tools/render/PluginPath.h"
#include "tools/render/Progress.h"
#include "tools/render/Report.h"
#include "tools/render/Session.h"

#include <cstdio>
#include <exception>
#include <iostream>

namespace {

void run(render::Options options) {
    // First: in a namespace of one's own, a chroot's programs no longer know where they lie.
    options.plugin = render::findPlugin(options.plugin);
    if (options.privateRegistry && !host::enterPrivateShm())
        render::fail("the system allows no private registry (needs user namespaces or root)");
    if (options.listParams) {
        std::cout << render::listParams(options);
        return;
    }
    const render::RenderResult result = render::renderSession(options, render::progressBar());
    render::printReport(std::cout, result);
    if (options.picture)
        render::drawPicture(result, *options.picture);
}

int exitWith(render::ExitCode code, const char* message) {
    std::fprintf(stderr, "tessella-render: %s\n", message);
    return static_cast<int>(code);
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (const auto options = render::parseOptions(argc, argv))
            run(*options);
        return 0;
    } catch (const render::Failure& failure) {
        return exitWith(failure.code(), failure.what());
    } catch (const std::exception& error) {
        return exitWith(render::ExitCode::Failed, error.what());
    }
}
