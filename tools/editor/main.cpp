/// tessella-editor: the plug-in's editor on the screen, without a workstation around it.
#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Program.h"
#include "tools/editor/App.h"

namespace {

void run(editor::Options options) {
    options.plugin = tools::settleIn(options.plugin, options.privateRegistry);
    tools::catchInterrupts();
    editor::App(options).run();
    tools::checkInterrupt();
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-editor", [&] {
        if (const auto options = editor::parseOptions(argc, argv))
            run(*options);
    });
}
