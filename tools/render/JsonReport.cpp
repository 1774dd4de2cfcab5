#include "tools/render/JsonReport.h"

#include "tools/common/Text.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace render {
namespace {

using Json = nlohmann::ordered_json;

double rounded(double value) { return std::round(value * 1000.0) / 1000.0; }

Json reductionJson(const TrackTrace& track) {
    Json bands;
    for (std::size_t band = 0; band < kBands; ++band) {
        const ReductionFigures figures = reductionOf(track, band);
        bands[kBandNames[band]] = {{"mean", rounded(figures.meanDb)},
                                   {"most", rounded(figures.mostDb)}};
    }
    return bands;
}

Json trackJson(const TrackTrace& track, double sampleRate) {
    const bool paired = !track.peerName.empty();
    return {{"name", terminal::printable(track.name)},
            {"peer", paired ? Json(terminal::printable(track.peerName)) : Json()},
            {"duckSelf", track.duckSelf},
            {"input", terminal::printable(track.inputPath.string())},
            {"output", terminal::printable(track.outputPath.string())},
            {"seconds", rounded(static_cast<double>(track.frames) / sampleRate)},
            {"clippedSamples", track.clippedSamples},
            {"gainReductionDb", reductionJson(track)}};
}

} // namespace

Json jsonReport(const RenderResult& result) {
    Json tracks = Json::array();
    for (const TrackTrace& track : result.tracks)
        tracks.push_back(trackJson(track, result.sampleRate));
    return {{"sampleRateHz", result.sampleRate},
            {"blockSamples", result.blockSize},
            {"audioSeconds", rounded(result.audioSeconds)},
            {"wallSeconds", rounded(result.wallSeconds)},
            {"tracks", tracks}};
}

} // namespace render
