/// tessella-editor: the plug-in's editor on the screen, without a workstation around it.
#include "tools/common/Program.h"
#include "tools/editor/App.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void interrupt(int /*signal*/) { gInterrupted = 1; }

void run(editor::Options options) {
    options.plugin = tools::settleIn(options.plugin, options.privateRegistry);
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    editor::App(options, gInterrupted).run();
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-editor", [&] {
        if (const auto options = editor::parseOptions(argc, argv))
            run(*options);
    });
}
