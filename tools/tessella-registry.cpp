/// Shows and pairs the plug-in's running instances, as they meet in the shared registry.
#include "tools/common/Text.h"
#include "tools/registry/Resolve.h"
#include "tools/registry/SignalsHeld.h"
#include "tools/registry/View.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <exception>
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
    "Exit code: 0 done (also when listing finds no registry), 1 failed, above 100 wrong usage.";

int fail(const std::string& why) {
    std::fprintf(stderr, "tessella-registry: %s\n", why.c_str());
    return 1;
}

/// Writes it all at once; false when nobody reads any more.
bool print(const std::string& text) {
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
}

/// Lists once, or with seconds > 0 again and again until interrupted.
int list(bool asJson, double seconds) {
    const bool redraw = seconds > 0 && !asJson && isatty(STDOUT_FILENO) == 1;
    const int indent = seconds > 0 ? -1 : 2; // watched JSON: a document a line
    for (;;) {
        const registry::View view = registry::look();
        const std::string text = asJson ? registry::json(view, indent) : registry::table(view);
        if (!print((redraw ? "\033[H\033[J" : "") + text))
            return fail("cannot write");
        if (seconds <= 0)
            return 0;
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}

std::string label(const shm::SlotSnapshot& slot) {
    return "#" + std::to_string(slot.index) + " \"" + terminal::printable(slot.name) + "\"";
}

int pair(const std::string& first, const std::string& second) {
    const registry::View view = registry::look();
    if (!view.present)
        return fail("no registry: no instance is running");
    const registry::Resolved a = registry::resolve(view.slots, first);
    const registry::Resolved b = registry::resolve(view.slots, second);
    if (!a.slot || !b.slot)
        return fail(a.slot ? b.error : a.error);
    if (a.slot == b.slot)
        return fail(label(*a.slot) + " cannot be paired with itself");
    const registry::SignalsHeld held;
    shm::RegistryMonitor monitor;
    if (!monitor.Attach() || !monitor.Pair(a.slot->id, b.slot->id))
        return fail("not paired: registry busy or read-only, or an instance has just left");
    print("paired " + label(*a.slot) + " with " + label(*b.slot) + "\n");
    return 0;
}

int unpair(const std::string& name) {
    const registry::View view = registry::look();
    if (!view.present)
        return fail("no registry: no instance is running");
    const registry::Resolved resolved = registry::resolve(view.slots, name);
    if (!resolved.slot)
        return fail(resolved.error);
    const registry::SignalsHeld held;
    shm::RegistryMonitor monitor;
    if (!monitor.Attach() || !monitor.Unpair(resolved.slot->id))
        return fail("not unpaired: registry busy or read-only, or the instance has just left");
    print("unpaired " + label(*resolved.slot) + "\n");
    return 0;
}

int run(int argc, char** argv) {
    CLI::App app(kAbout, "tessella-registry");
    app.footer(kColumns);
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", TD_VERSION, "print the version and exit");
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
    CLI11_PARSE(app, argc, argv);
    if (*pairCommand)
        return pair(first, second);
    if (*unpairCommand)
        return unpair(first);
    return list(asJson, watch->count() > 0 && seconds <= 0 ? 1.0 : seconds);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
