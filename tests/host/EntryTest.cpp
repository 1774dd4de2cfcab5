#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

constexpr const char* kId = "com.Orlavenko.TessellaDuckwork";

TEST(Entry, DescribesOnePluginAndAnswersOnlyExactIds) {
    const Track track;
    const auto library = support::plugin();
    const auto& [major, minor, revision] = library->entry().clap_version;
    EXPECT_TRUE(major == 1 && minor == 2 && revision == 10);
    EXPECT_TRUE(library->pluginCount() == 1 && library->descriptor(1) == nullptr);
    for (const auto* desc : {library->descriptor(0), track.instance.plugin()->desc}) {
        std::string texts;
        for (const char* text : {desc->id, desc->name, desc->vendor, desc->url, desc->manual_url,
                                 desc->support_url, desc->version, desc->description})
            texts += std::string(text) + ";";
        for (const char* const* feature = desc->features; *feature != nullptr; ++feature)
            texts += std::string(*feature) + ";";
        EXPECT_EQ(texts, std::string(kId) + ";TessellaDuckwork;Orlavenko;;;;" TD_VERSION
                                            ";Spectral dynamics processor with inter-plugin "
                                            "sidechain;audio-effect;compressor;spectral;");
    }
    host::HostCallbacks host;
    const auto& factory = library->factory();
    EXPECT_EQ(factory.create_plugin(&factory, host.record(), "com.Orlavenko.Tessella"), nullptr);
    EXPECT_EQ(library->entry().get_factory("clap.plugin-factory/2"), nullptr);
    EXPECT_EQ(track.instance.extension<void>("clap.params/2"), nullptr);
}

TEST(Entry, DeclaresItsPortsPerConfiguration) {
    Track track;
    for (const std::size_t config : {1U, 0U}) {
        const auto configs = host::audioPortConfigs(track.instance);
        ASSERT_EQ(configs.size(), 2U);
        ASSERT_TRUE(host::selectAudioPortConfig(track.instance, configs[config].id));
        const auto inputs = host::audioPorts(track.instance, true);
        const auto outputs = host::audioPorts(track.instance, false);
        ASSERT_EQ(inputs.size(), 1 + config) << "the second configuration has a sidechain";
        ASSERT_EQ(outputs.size(), 1U);
        EXPECT_EQ(configs[config].input_port_count, inputs.size());
        EXPECT_TRUE(inputs[0].in_place_pair == outputs[0].id &&
                    outputs[0].in_place_pair == inputs[0].id);
        for (const auto& port : inputs) {
            EXPECT_EQ(port.flags,
                      CLAP_AUDIO_PORT_SUPPORTS_64BITS |
                          (&port == &inputs[0] ? unsigned{CLAP_AUDIO_PORT_IS_MAIN} : 0));
            EXPECT_TRUE(port.channel_count == 2 && std::string(port.port_type) == CLAP_PORT_STEREO);
        }
    }
    EXPECT_FALSE(host::selectAudioPortConfig(track.instance, 2));
    track.start(48000.0);
    EXPECT_FALSE(host::selectAudioPortConfig(track.instance, 1)) << "while active";
}

TEST(Entry, KeepsItsDescriptorInPlaceUntilTheLastOfItsDeinits) {
    const auto library = support::plugin(); // the first init
    const clap_plugin_entry_t& entry = library->entry();
    const clap_plugin_descriptor_t* const kept = library->descriptor();
    ASSERT_TRUE(entry.init("again"));
    Track first;
    entry.deinit();
    EXPECT_EQ(library->descriptor(), kept) << "one init is left";
    Track second;
    entry.deinit();
    entry.deinit(); // one too many
    EXPECT_EQ(library->descriptor(), nullptr);
    const host::HostCallbacks callbacks;
    EXPECT_EQ(library->factory().create_plugin(&library->factory(), callbacks.record(), kId),
              nullptr);
    EXPECT_STREQ(first.instance.plugin()->desc->id, kId) << "an instance has its own";

    ASSERT_TRUE(entry.init("once more"));
    EXPECT_EQ(library->descriptor(), kept);
    Track third;
    for (Track* track : {&first, &second, &third}) {
        track->start(48000.0);
        EXPECT_GT(rms(track->play(support::noise(8192, 0.5, 21), 512)), 0.1);
    }
}

} // namespace
