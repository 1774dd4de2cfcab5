#include "adapter/IPlugProcessor.h"

#include <sstream>
#include <string>

namespace iplug {
namespace {

std::vector<int> parseBuses(const std::string& text) {
    std::vector<int> channels;
    std::istringstream buses(text);
    for (std::string bus; std::getline(buses, bus, '.');)
        channels.push_back(std::stoi(bus));
    return channels;
}

} // namespace

std::vector<IOConfig> ParseChannelIO(const char* text) {
    std::vector<IOConfig> configs;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t dash = word.find('-');
        configs.push_back({parseBuses(word.substr(0, dash)), parseBuses(word.substr(dash + 1))});
    }
    return configs;
}

IPlugProcessor::IPlugProcessor(const Config& config)
    : ioConfigs(ParseChannelIO(config.channelIO)), latencySamples(config.latencySamples) {}

bool IPlugProcessor::SelectIOConfig(std::uint32_t index) noexcept {
    if (index >= ioConfigs.size())
        return false;
    currentIOConfig = index;
    return true;
}

} // namespace iplug
