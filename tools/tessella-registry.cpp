/// Shows and pairs the plug-in's running instances, as they meet in the shared registry.
#include "tools/common/Failure.h"
#include "tools/common/Program.h"
#include "tools/common/Text.h"
#include "tools/registry/Resolve.h"
#include "tools/registry/SignalsHeld.h"
#include "tools/registry/View.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* kAbout =
    "Shows the TessellaDuckwork instances that run on this machine, and pairs them.\n"
    "Without a command it lists them once. An instance is named as in the plug-in's window, or\n"
    "by its slot: 3 or '#3' (quoted, as a shell takes # for a comment).";
constexpr const char* kColumns =
    "\nColumns: HEARTBEAT seconds since the last sign of life (over 10: dead); PEER the slot it "
    "is\n"
    "paired with, \"gone\" when that instance has left; BANDS range, threshold, ratio;\n"
    "FILTERS high-pass to low-pass; FLAGS bypass, duck (ducks its own signal).\n"
    "Listing finds nothing (3) where no instance runs.\n";

/// What one who finds nobody wants to know.
[[noreturn]] void failEmpty(const registry::View& view) {
    if (view.obstacle == shm::Obstacle::Missing || view.obstacle == shm::Obstacle::None)
        throw tools::Failure(tools::ExitCode::NothingFound, "no instance is running");
    tools::fail(shm::Explain(view.obstacle));
}

/// Lists once, or with seconds > 0 again and again until interrupted.
void list(bool asJson, double seconds) {
    const bool redraw = seconds > 0 && !asJson && isatty(STDOUT_FILENO) == 1;
    const int indent = seconds > 0 ? -1 : 2; // watched JSON: a document a line
    for (;;) {
        const registry::View view = registry::look();
        if (seconds > 0 || asJson || !registry::isEmpty(view))
            std::cout << (redraw ? "\033[H\033[J" : "")
                      << (asJson ? registry::json(view, indent) : registry::table(view))
                      << std::flush;
        if (seconds <= 0 && registry::isEmpty(view))
            failEmpty(view);
        if (seconds <= 0 || !std::cout) // nobody reads any more
            return;
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}

std::string label(const shm::SlotSnapshot& slot) {
    return "#" + std::to_string(slot.index) + " \"" + terminal::printable(slot.name) + "\"";
}

/// The slot that was meant; throws Failure.
const shm::SlotSnapshot& find(const registry::View& view, const std::string& name) {
    if (registry::isEmpty(view))
        failEmpty(view);
    const registry::Resolved resolved = registry::resolve(view.slots, name);
    if (resolved.slot == nullptr)
        throw tools::Failure(tools::ExitCode::NothingFound, resolved.error);
    return *resolved.slot;
}

[[noreturn]] void failChange(const char* what) {
    const shm::Obstacle obstacle = shm::FindObstacle();
    const bool isFree = obstacle == shm::Obstacle::None || obstacle == shm::Obstacle::Full;
    tools::fail(std::string(what) + ": " +
                (isFree ? "an instance has just left" : shm::Explain(obstacle)));
}

void pair(const std::string& first, const std::string& second) {
    const registry::View view = registry::look();
    const shm::SlotSnapshot& a = find(view, first);
    const shm::SlotSnapshot& b = find(view, second);
    if (&a == &b)
        tools::failUsage(label(a) + " cannot be paired with itself");
    const registry::SignalsHeld held;
    shm::RegistryMonitor monitor;
    if (!monitor.Attach() || !monitor.Pair(a.id, b.id))
        failChange("not paired");
    std::cout << "paired " << label(a) << " with " << label(b) << '\n';
}

void unpair(const std::string& name) {
    const registry::View view = registry::look();
    const shm::SlotSnapshot& slot = find(view, name);
    const registry::SignalsHeld held;
    shm::RegistryMonitor monitor;
    if (!monitor.Attach() || !monitor.Unpair(slot.id))
        failChange("not unpaired");
    std::cout << "unpaired " << label(slot) << '\n';
}

void run(int argc, char** argv) {
    CLI::App app(kAbout, "tessella-registry");
    app.footer(std::string(kColumns) + tools::kExitCodes);
    app.require_subcommand(0, 1);
    bool asJson = false;
    double seconds = 0;
    app.add_flag("--json", asJson, "print JSON; with --watch one document a line");
    CLI::Option* watch =
        app.add_option("--watch", seconds, "list again every so many seconds (1 if not said)")
            ->expected(0, 1)
            ->default_str("")
            ->check(CLI::Range(0.05, 3600.0))
            ->type_name("[SECONDS]");
    std::string first;
    std::string second;
    const char* which = "its name or slot";
    CLI::App* pairCommand = app.add_subcommand("pair", "pair two instances with each other");
    pairCommand->add_option("FIRST", first, which)->required();
    pairCommand->add_option("SECOND", second, which)->required();
    CLI::App* unpairCommand = app.add_subcommand("unpair", "release an instance and its peer");
    unpairCommand->add_option("INSTANCE", first, which)->required();
    if (!tools::parseCommandLine(app, argc, argv))
        return;
    if (*pairCommand)
        pair(first, second);
    else if (*unpairCommand)
        unpair(first);
    else
        list(asJson, watch->count() > 0 && seconds <= 0 ? 1.0 : seconds);
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-registry", [&] { run(argc, argv); });
}
