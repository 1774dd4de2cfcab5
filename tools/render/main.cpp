#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Program.h"
#include "tools/render/JsonReport.h"
#include "tools/render/Options.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/Page.h"
#include "tools/render/Picture.h"
#include "tools/render/Report.h"
#include "tools/render/Session.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace {

void run(render::Options options, const std::string& command) {
    tools::catchInterrupts();
    options.plugin = tools::settleIn(options.plugin, options.privateRegistry);
    if (options.listParams) {
        std::cout << render::listParams(options);
        return;
    }
    render::RenderResult result = render::renderSession(options, render::progressBar());
    if (options.picture)
        render::drawPicture(result, *options.picture);
    if (options.json)
        std::cout << render::jsonReport(result).dump(2) << '\n';
    else
        render::printReport(std::cout, result);
    if (options.page)
        render::writePage({{"", "", command, std::move(result)}}, render::pageFile(*options.page));
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-render", [&] {
        if (const auto options = render::parseOptions(argc, argv))
            run(*options, render::shellCommand({argv, argv + argc}));
    });
}
