#include "bench/plugin/Lv2Effect.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/parameters/parameters.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace bench {
namespace {

template <auto freeFunction>
struct Free {
    void operator()(auto* pointer) const { freeFunction(pointer); }
};
using Node = std::unique_ptr<LilvNode, Free<lilv_node_free>>;

Node uriNode(LilvWorld* world, const char* uri) { return Node(lilv_new_uri(world, uri)); }

const LilvPlugin* findPlugin(LilvWorld* world, const char* uri) {
    const LilvPlugin* const plugin =
        lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uriNode(world, uri).get());
    if (plugin == nullptr)
        throw std::runtime_error(std::string(uri) + ": not installed");
    return plugin;
}

} // namespace

Lv2Features::Lv2Features(double hz, std::uint32_t blockFrames)
    : rate(static_cast<float>(hz)), maxBlock(static_cast<std::int32_t>(blockFrames)),
      uridMap{this, [](void* self, const char* uri) {
                  return static_cast<Lv2Features*>(self)->map(uri);
              }} {
    const auto option = [this](const char* key, const char* type, const void* value) {
        options.push_back({LV2_OPTIONS_INSTANCE, 0, map(key), sizeof(float), map(type), value});
    };
    option(LV2_PARAMETERS__sampleRate, LV2_ATOM__Float, &rate);
    option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &minBlock);
    option(LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int, &maxBlock);
    options.push_back({LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr});
    features = {{LV2_URID__map, &uridMap},
                {LV2_OPTIONS__options, options.data()},
                {LV2_BUF_SIZE__boundedBlockLength, nullptr}};
    for (const LV2_Feature& feature : features)
        pointers.push_back(&feature);
    pointers.push_back(nullptr);
}

LV2_URID Lv2Features::map(const char* uri) {
    return ids.try_emplace(uri, static_cast<LV2_URID>(ids.size() + 1)).first->second;
}

Lv2Effect::Lv2Effect(LilvWorld* world, const char* uri, const Controls& controls, double rate,
                     std::uint32_t maxBlock)
    : features(rate, maxBlock) {
    const LilvPlugin* const plugin = findPlugin(world, uri);
    instance = lilv_plugin_instantiate(plugin, rate, features.list());
    if (instance == nullptr)
        throw std::runtime_error(std::string(uri) + ": does not start");
    connect(world, plugin, maxBlock);
    set(world, plugin, controls);
    lilv_instance_activate(instance);
}

Lv2Effect::~Lv2Effect() {
    lilv_instance_deactivate(instance);
    lilv_instance_free(instance);
}

void Lv2Effect::connect(LilvWorld* world, const LilvPlugin* plugin, std::uint32_t maxBlock) {
    const Node audio = uriNode(world, LILV_URI_AUDIO_PORT);
    const Node control = uriNode(world, LILV_URI_CONTROL_PORT);
    const Node input = uriNode(world, LILV_URI_INPUT_PORT);
    const std::uint32_t ports = lilv_plugin_get_num_ports(plugin);
    controlValues.resize(ports);
    lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, controlValues.data());
    std::ranges::replace_if(
        controlValues, [](float value) { return std::isnan(value); }, 0.0F);
    for (std::uint32_t i = 0; i < ports; ++i) {
        const LilvPort* const port = lilv_plugin_get_port_by_index(plugin, i);
        const bool isInput = lilv_port_is_a(plugin, port, input.get());
        if (lilv_port_is_a(plugin, port, control.get()))
            lilv_instance_connect_port(instance, i, &controlValues[i]);
        else if (!lilv_port_is_a(plugin, port, audio.get()))
            connectAtoms(i, isInput);
        else if (isInput)
            inputs.push_back(i);
        else
            lilv_instance_connect_port(instance, i, outputBuffers.emplace_back(maxBlock).data());
    }
}

/// An input without events, or room for some that nobody reads.
void Lv2Effect::connectAtoms(std::uint32_t port, bool isInput) {
    constexpr std::uint32_t kRoom = 65536;
    auto& memory = atoms.emplace_back(kRoom / sizeof(std::uint64_t));
    auto* const sequence = reinterpret_cast<LV2_Atom_Sequence*>(memory.data());
    sequence->atom.size = isInput ? sizeof sequence->body : kRoom - sizeof sequence->atom;
    sequence->atom.type = features.map(isInput ? LV2_ATOM__Sequence : LV2_ATOM__Chunk);
    lilv_instance_connect_port(instance, port, sequence);
}

void Lv2Effect::set(LilvWorld* world, const LilvPlugin* plugin, const Controls& controls) {
    for (const auto& [symbol, value] : controls) {
        const Node name(lilv_new_string(world, symbol.c_str()));
        const LilvPort* const port = lilv_plugin_get_port_by_symbol(plugin, name.get());
        if (port == nullptr)
            throw std::runtime_error(symbol + ": no such control");
        controlValues[lilv_port_get_index(plugin, port)] = value;
    }
}

void Lv2Effect::block(float* const* channels, std::uint32_t frames) {
    for (std::size_t i = 0; i < inputs.size(); ++i)
        lilv_instance_connect_port(instance, inputs[i], channels[i]);
    lilv_instance_run(instance, frames);
}

} // namespace bench
