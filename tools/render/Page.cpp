#include "tools/render/Page.h"

#include "tools/common/NewFile.h"
#include "tools/common/Text.h"
#include "tools/render/Embed.h"
#include "tools/render/JsonReport.h"
#include "tools/render/PageTemplate.h" // page.html, as the build finds it
#include "tools/render/Picture.h"

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>

namespace render {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kDataMark = "@DATA@";
constexpr std::string_view kPlainCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789%+,-./:=@_";

std::string shellWord(const std::string& word) {
    if (!word.empty() && word.find_first_not_of(kPlainCharacters) == std::string::npos)
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

/// The report, and for each track what it sounded like.
Json sectionJson(const PageSection& section) {
    Json json = jsonReport(section.result);
    json["title"] = section.title;
    json["text"] = section.text;
    json["command"] = terminal::printable(section.command);
    json["picture"] = base64(paintPicture(section.result).png());
    for (std::size_t i = 0; i < section.result.tracks.size(); ++i) {
        const TrackTrace& track = section.result.tracks[i];
        json["tracks"][i]["before"] = base64(flacOf(track.inputPath, 0, track.frames));
        json["tracks"][i]["after"] =
            base64(flacOf(track.outputPath, track.outputOffset, track.frames));
    }
    return json;
}

/// JSON that cannot end the script element that it stands in.
std::string scriptText(const Json& json) {
    std::string text = json.dump();
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at))
        text.replace(at, 1, "\\u003c");
    return text;
}

void write(const std::filesystem::path& path, const std::string& text) {
    tools::NewFile file(path);
    std::ofstream stream(file.path(), std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    if (!stream)
        file.refuse(errno);
    file.keep();
}

} // namespace

std::string shellCommand(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : " ") + shellWord(word);
    return line;
}

void writePage(const std::vector<PageSection>& sections, const std::filesystem::path& path) {
    Json data = Json::array();
    for (const PageSection& section : sections)
        data.push_back(sectionJson(section));
    std::string page = kPageTemplate;
    page.replace(page.find(kDataMark), kDataMark.size(), scriptText(data));
    write(path, page);
}

} // namespace render
