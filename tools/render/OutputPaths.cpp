#include "tools/render/OutputPaths.h"

#include "tools/common/Failure.h"

namespace render {
namespace fs = std::filesystem;
namespace {

fs::path outputOf(const Options& options, const TrackOptions& track) {
    if (track.output)
        return *track.output;
    const fs::path folder = options.outputFolder.value_or(track.input.parent_path());
    const std::string extension = track.input.extension().string();
    const bool isMp3 = extension == ".mp3" || extension == ".MP3";
    return folder / (track.input.stem().string() + "-ducked" + (isMp3 ? ".wav" : extension));
}

/// Whether both paths lead to the same file, existing or to be created.
bool isSameFile(const fs::path& a, const fs::path& b) {
    std::error_code error;
    if (fs::equivalent(a, b, error) && !error)
        return true;
    // equivalent() knows existing files only; canonical names settle the rest.
    return fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error);
}

void refuseInput(const fs::path& input, const fs::path& output) {
    if (isSameFile(input, output))
        tools::failUsage(output.string() + ": would overwrite the input " + input.string());
}

void refuseInputs(const Options& options, const fs::path& output) {
    for (const TrackOptions& track : options.tracks) {
        refuseInput(track.input, output);
        if (track.loadState)
            refuseInput(*track.loadState, output);
    }
}

void refuseTwins(const std::vector<fs::path>& outputs) {
    for (std::size_t a = 0; a < outputs.size(); ++a)
        for (std::size_t b = a + 1; b < outputs.size(); ++b)
            if (isSameFile(outputs[a], outputs[b]))
                tools::failUsage(outputs[a].string() +
                                 ": two outputs would be this file; give one of "
                                 "them another name");
}

/// Directly, whether or not the folder is there and its name ends with a slash.
bool isIn(const std::optional<fs::path>& folder, const fs::path& path) {
    return folder && *folder / path.filename() == path;
}

/// Before a rendering, not after it.
void requireFolder(const fs::path& path) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";
    if (!fs::is_directory(folder))
        tools::fail(path.string() + ": there is no folder " + folder.string());
}

} // namespace

void createFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        tools::fail(folder.string() + ": cannot create the folder (" + error.message() + ")");
}

std::vector<fs::path> resolveOutputs(const Options& options) {
    std::vector<fs::path> written;
    for (const TrackOptions& track : options.tracks)
        written.push_back(outputOf(options, track));
    for (const TrackOptions& track : options.tracks)
        if (track.saveState)
            written.push_back(*track.saveState);
    if (options.picture)
        written.push_back(*options.picture);
    if (options.page)
        written.push_back(pageFile(*options.page));
    for (const fs::path& path : written) {
        refuseInputs(options, path);
        if (!isIn(options.outputFolder, path) && !isIn(options.page, path))
            requireFolder(path);
    }
    refuseTwins(written);
    written.resize(options.tracks.size());
    return written;
}

} // namespace render
