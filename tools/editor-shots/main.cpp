/// Takes pictures of the editor in all its states, without plug-in, host or registry; also says
/// how long a frame takes.

#include "tools/common/Failure.h"
#include "tools/common/Program.h"
#include "tools/editor-shots/Situations.h"
#include "tools/editor-shots/View.h"

#include <CLI/CLI.hpp>
#include <cairo.h>
#include <glad/gl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <vector>

namespace shots {
namespace {

struct Options {
    std::vector<std::string> names; ///< empty: all
    std::filesystem::path folder = ".";
    double zoom = 1.0;
    int timedFrames = 0; ///< above 0: measure instead of writing
};

struct Size {
    int width, height;
};

std::vector<Situation> chosen(const std::vector<std::string>& names) {
    std::vector<Situation> result;
    std::ranges::copy_if(allSituations(), std::back_inserter(result), [&](const Situation& s) {
        return names.empty() || std::ranges::find(names, s.name) != names.end();
    });
    return result;
}

ui::DrawState stateOf(const Scene& scene) {
    ui::DrawState state;
    fillDrawState(state, nullptr, scene.panel.view, scene.meters);
    return state;
}

void drawScene(ui::Graphics& graphics, const Scene& scene, Size size) {
    graphics.beginFrame(size.width, size.height);
    ui::drawUI(graphics.tools(), stateOf(scene), scene.panel);
    graphics.endFrame();
}

/// What has just been drawn, as a PNG file.
void savePixels(Size size, const std::filesystem::path& path) {
    cairo_surface_t* const picture =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, size.width, size.height);
    unsigned char* const pixels = cairo_image_surface_get_data(picture);
    const int stride = cairo_image_surface_get_stride(picture);
    for (int row = 0; row < size.height; ++row) // GL counts rows from the bottom
        glReadPixels(0, size.height - 1 - row, size.width, 1, GL_BGRA, GL_UNSIGNED_BYTE,
                     pixels + std::ptrdiff_t(row) * stride);
    cairo_surface_mark_dirty(picture);
    const cairo_status_t status = cairo_surface_write_to_png(picture, path.c_str());
    cairo_surface_destroy(picture);
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error("cannot write " + path.string());
}

void takePicture(ui::Graphics& graphics, const Situation& situation, Size size,
                 const std::filesystem::path& folder) {
    drawScene(graphics, sceneOf(situation), size);
    savePixels(size, folder / (std::string(situation.name) + ".png"));
}

double msSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + std::ptrdiff_t(values.size() / 2));
    return values[values.size() / 2];
}

/// Prints the medians of building the paths and of submitting and finishing them.
void timeFrames(ui::Graphics& graphics, const Situation& situation, Size size, int frames) {
    const Scene scene = sceneOf(situation);
    const ui::DrawState state = stateOf(scene);
    for (int i = 0; i < 3; ++i) // caches fill
        drawScene(graphics, scene, size);
    glFinish();
    std::vector<double> building, submitting;
    for (int i = 0; i < frames; ++i) {
        graphics.beginFrame(size.width, size.height);
        const auto start = std::chrono::steady_clock::now();
        ui::drawUI(graphics.tools(), state, scene.panel);
        building.push_back(msSince(start));
        const auto built = std::chrono::steady_clock::now();
        graphics.endFrame();
        glFinish();
        submitting.push_back(msSince(built));
    }
    std::printf("%-20s %4d × %4d  paths %6.2f ms, GL %7.2f ms\n", situation.name, size.width,
                size.height, median(building), median(submitting));
}

void show(const Options& options) {
    const std::vector<Situation> situations = chosen(options.names);
    if (situations.empty())
        throw tools::Failure(tools::ExitCode::NothingFound,
                             "no situation of that name; --list shows them");
    const Size size = {static_cast<int>(ui::kCanvas.width * options.zoom),
                       static_cast<int>(ui::kCanvas.height * options.zoom)};
    std::filesystem::create_directories(options.folder);
    View view(size.width, size.height);
    view.expose([&](ui::Graphics& graphics) {
        for (const Situation& situation : situations)
            if (options.timedFrames > 0)
                timeFrames(graphics, situation, size, options.timedFrames);
            else
                takePicture(graphics, situation, size, options.folder);
    });
}

void listNames() {
    for (const Situation& situation : allSituations())
        std::cout << situation.name << '\n';
}

void run(int argc, char** argv) {
    Options options;
    bool list = false;
    CLI::App app{"Takes pictures of the editor, one PNG file for each of its states. Needs an X\n"
                 "display as large as the window:\n"
                 "  xvfb-run -s '-screen 0 2880x1800x24' tessella-shots -o pictures -z 3",
                 "tessella-shots"};
    app.footer(tools::kExitCodes);
    app.add_option("NAME", options.names, "States to show (all of them)");
    app.add_option("-o,--output", options.folder, "Folder for the pictures (this one)");
    app.add_option("-z,--zoom", options.zoom, "Pixels per canvas unit (1)")
        ->check(CLI::Range(0.5, 3.0));
    app.add_option("--time", options.timedFrames,
                   "Write nothing: draw so many frames of each and print their times");
    app.add_flag("--list", list, "Print the names of all states");
    if (!tools::parseCommandLine(app, argc, argv))
        return;
    if (list)
        listNames();
    else
        show(options);
}

} // namespace
} // namespace shots

int main(int argc, char** argv) {
    return tools::runProgram("tessella-shots", [&] { shots::run(argc, argv); });
}
