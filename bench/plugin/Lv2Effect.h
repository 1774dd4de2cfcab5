/// Just enough of an LV2 host to run stereo effects from a benchmark.
#pragma once

#include <lilv/lilv.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// The features that effects ask of a host: ids for URIs, sample rate and block size.
class Lv2Features {
public:
    Lv2Features(double hz, std::uint32_t blockFrames);
    Lv2Features(const Lv2Features&) = delete;
    Lv2Features& operator=(const Lv2Features&) = delete;

    [[nodiscard]] const LV2_Feature* const* list() const { return pointers.data(); }
    [[nodiscard]] LV2_URID map(const char* uri);

private:
    std::map<std::string, LV2_URID> ids;
    float rate;
    std::int32_t minBlock = 1, maxBlock;
    LV2_URID_Map uridMap;
    std::vector<LV2_Options_Option> options;
    std::vector<LV2_Feature> features;
    std::vector<const LV2_Feature*> pointers; ///< ends with null
};

/// One running effect, its controls at their defaults but for the given ones.
class Lv2Effect {
public:
    using Controls = std::vector<std::pair<std::string, float>>; ///< port symbol, value

    /// Throws std::runtime_error when the effect is not installed, does not start or has no such
    /// control. The world has loaded all plug-ins and outlives it.
    Lv2Effect(LilvWorld* world, const char* uri, const Controls& controls, double rate,
              std::uint32_t maxBlock);
    ~Lv2Effect();
    Lv2Effect(const Lv2Effect&) = delete;
    Lv2Effect& operator=(const Lv2Effect&) = delete;

    /// Inputs: left, right and, where the effect has them, the two of its side-chain, in the order
    /// of its ports; `channels` holds four. [audio]
    void block(float* const* channels, std::uint32_t frames);
    [[nodiscard]] const std::vector<std::vector<float>>& outputs() const { return outputBuffers; }

private:
    void connect(LilvWorld* world, const LilvPlugin* plugin, std::uint32_t maxBlock);
    void connectAtoms(std::uint32_t port, bool isInput);
    void set(LilvWorld* world, const LilvPlugin* plugin, const Controls& controls);

    Lv2Features features;
    LilvInstance* instance;
    std::vector<float> controlValues;  ///< a value per port, used or not
    std::vector<std::uint32_t> inputs; ///< port numbers
    std::vector<std::vector<float>> outputBuffers;
    std::vector<std::vector<std::uint64_t>> atoms;
};

} // namespace bench
