#include "tests/host/Track.h"

#include "host/Extensions.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

using support::Track;

TEST(Entry, ExportsOnlyTheClapEntry) {
    const std::string command = std::string("nm -D --defined-only '") + TD_PLUGIN_PATH + "'";
    FILE* const list = popen(command.c_str(), "r");
    ASSERT_NE(list, nullptr);
    std::set<std::string> symbols;
    char address[64], kind[8], name[512];
    while (std::fscanf(list, "%63s %7s %511s", address, kind, name) == 3)
        symbols.insert(name);
    ASSERT_EQ(pclose(list), 0);
    EXPECT_EQ(symbols, std::set<std::string>{"clap_entry"});
}

TEST(Entry, DescribesOnePlugin) {
    const auto library = support::plugin();
    const clap_version_t version = library->entry().clap_version;
    EXPECT_EQ(std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
                  std::to_string(version.revision),
              "1.2.10");
    ASSERT_EQ(library->pluginCount(), 1U);
    EXPECT_EQ(library->descriptor(1), nullptr);
    const clap_plugin_descriptor_t& desc = *library->descriptor(0);
    EXPECT_STREQ(desc.id, "com.Orlavenko.TessellaDuckwork");
    EXPECT_STREQ(desc.name, "TessellaDuckwork");
    EXPECT_STREQ(desc.vendor, "Orlavenko");
    EXPECT_STREQ(desc.version, "1.3.2");
    EXPECT_STREQ(desc.description, "Spectral dynamics processor with inter-plugin sidechain");
    for (const char* url : {desc.url, desc.manual_url, desc.support_url})
        EXPECT_STREQ(url, "");
    std::vector<std::string> features;
    for (int i = 0; desc.features[i] != nullptr; ++i)
        features.emplace_back(desc.features[i]);
    EXPECT_EQ(features, (std::vector<std::string>{"audio-effect", "compressor", "spectral"}));
}

TEST(Entry, AnswersOnlyExactIds) {
    const auto library = support::plugin();
    for (const char* id : {"clap.plugin-factory/2", "clap.plugin-factor", "", "clap.preset"})
        EXPECT_EQ(library->entry().get_factory(id), nullptr) << id;
    host::HostCallbacks host;
    const auto& factory = library->factory();
    for (const char* id : {"com.orlavenko.TessellaDuckwork", "com.Orlavenko.TessellaDuckwork2", ""})
        EXPECT_EQ(factory.create_plugin(&factory, host.record(), id), nullptr) << id;
    Track track;
    for (const char* id : {"clap.params/2", "clap.note-ports", ""})
        EXPECT_EQ(track.instance.extension<void>(id), nullptr) << id;
}

TEST(Entry, DeclaresItsPortsPerConfiguration) {
    Track track;
    struct Case {
        clap_id config;
        std::size_t inputs;
    };
    for (const Case& c : {Case{1, 2}, Case{0, 1}}) {
        const auto configs = host::audioPortConfigs(track.instance);
        ASSERT_EQ(configs.size(), 2U);
        ASSERT_TRUE(host::selectAudioPortConfig(track.instance, configs[c.config].id));
        const auto inputs = host::audioPorts(track.instance, true);
        const auto outputs = host::audioPorts(track.instance, false);
        ASSERT_EQ(inputs.size(), c.inputs);
        ASSERT_EQ(outputs.size(), 1U);
        EXPECT_EQ(configs[c.config].input_port_count, c.inputs);
        EXPECT_EQ(inputs[0].in_place_pair, outputs[0].id);
        EXPECT_EQ(outputs[0].in_place_pair, inputs[0].id);
        for (std::size_t port = 0; port < c.inputs; ++port) {
            EXPECT_EQ((inputs[port].flags & CLAP_AUDIO_PORT_IS_MAIN) != 0, port == 0);
            EXPECT_EQ(inputs[port].channel_count, 2U);
            EXPECT_STREQ(inputs[port].port_type, CLAP_PORT_STEREO);
        }
    }
    EXPECT_FALSE(host::selectAudioPortConfig(track.instance, 2));
    track.start(48000.0);
    EXPECT_FALSE(host::selectAudioPortConfig(track.instance, 1)) << "while active";
}

} // namespace
