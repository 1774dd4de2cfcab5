#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Program.h"
#include "tools/render/Options.h"
#include "tools/render/Picture.h"
#include "tools/render/Report.h"
#include "tools/render/Session.h"

#include <iostream>

namespace {

void run(render::Options options) {
    tools::catchInterrupts();
    options.plugin = tools::settleIn(options.plugin, options.privateRegistry);
    if (options.listParams) {
        std::cout << render::listParams(options);
        return;
    }
    const render::RenderResult result = render::renderSession(options, render::progressBar());
    if (options.picture)
        render::drawPicture(result, *options.picture);
    render::printReport(std::cout, result);
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-render", [&] {
        if (const auto options = render::parseOptions(argc, argv))
            run(*options);
    });
}
