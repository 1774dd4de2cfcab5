#include "tools/render/Report.h"

#include "tools/common/Text.h"

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <string>
#include <unistd.h>

namespace render {
namespace {

constexpr const char* kRule = "                                 low           mid           high";
constexpr const char* kHead =
    "gain reduction, dB            mean   most   mean   most   mean   most";

/// A name fit for a terminal, in exactly that many columns.
std::string column(const std::string& name, std::size_t columns) {
    std::string text = terminal::printable(name);
    const bool fits = terminal::width(text) <= columns;
    while (!fits && terminal::width(text) > columns - 3)
        terminal::dropLast(text);
    text += fits ? "" : "...";
    return text + std::string(columns - terminal::width(text), ' ');
}

void printTrack(std::ostream& out, const TrackTrace& track) {
    out << "  " << column(track.name, 24);
    for (std::size_t band = 0; band < kBands; ++band) {
        const ReductionFigures figures = reductionOf(track, band);
        out << std::setw(band == 0 ? 8 : 7) << figures.meanDb << std::setw(7) << figures.mostDb;
    }
    out << (track.peerName.empty() ? "  unpaired"
            : track.duckSelf       ? ""
                                   : "  keeps priority")
        << '\n';
}

void printTitle(std::ostream& out, const TrackTrace& track) {
    out << '\n' << terminal::printable(track.name);
    if (!track.peerName.empty())
        out << " with " << terminal::printable(track.peerName);
    out << '\n';
}

void printNotes(std::ostream& out, const TrackTrace& track) {
    if (!track.damage.empty())
        out << "note: " << terminal::printable(track.inputPath.string()) << " is damaged, "
            << track.damage << '\n';
    if (track.clippedSamples > 0)
        out << "note: " << track.clippedSamples << " samples of "
            << terminal::printable(track.outputPath.string())
            << " were beyond full scale and cut off\n";
}

constexpr int kBarCells = 50;

void drawBar(int percent) {
    const auto filled = static_cast<std::size_t>(percent * kBarCells / 100);
    const std::string bar = std::string(filled, '#') + std::string(kBarCells - filled, '.');
    std::fprintf(stderr, "\r[%s] %3d %%%s", bar.c_str(), percent, percent == 100 ? "\n" : "");
}

} // namespace

ProgressSink progressBar() {
    if (isatty(STDERR_FILENO) == 0)
        return [](double) {};
    return [shown = -1](double fraction) mutable {
        const int percent = static_cast<int>(fraction * 100.0);
        if (percent != shown)
            drawBar(percent);
        shown = percent;
    };
}

void printReport(std::ostream& out, const RenderResult& result) {
    out << std::fixed << std::setprecision(1) << kRule << '\n' << kHead << '\n';
    for (std::size_t i = 0; i < result.tracks.size(); ++i) {
        const TrackTrace& track = result.tracks[i];
        if (!track.partner || *track.partner + 1 != i)
            printTitle(out, track);
        printTrack(out, track);
    }
    out << '\n';
    for (const TrackTrace& track : result.tracks) {
        out << terminal::printable(track.outputPath.string()) << '\n';
        printNotes(out, track);
    }
    out << result.audioSeconds << " s in " << std::setprecision(2) << result.wallSeconds
        << " s: " << std::setprecision(1)
        << result.audioSeconds / std::max(result.wallSeconds, 1e-9) << " times real time, "
        << result.tracks.size() << " instance" << (result.tracks.size() == 1 ? "" : "s") << '\n';
}

} // namespace render
