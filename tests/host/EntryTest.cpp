#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

constexpr const char* kId = "com.Orlavenko.TessellaDuckwork";

TEST(Entry, DescribesOnePlugin) {
    const Track track;
    const auto library = support::plugin();
    const clap_version_t version = library->entry().clap_version;
    EXPECT_EQ((std::array{version.major, version.minor, version.revision}),
              (std::array{1U, 2U, 10U}));
    ASSERT_EQ(library->pluginCount(), 1U);
    EXPECT_EQ(library->descriptor(1), nullptr);
    for (const auto* desc : {library->descriptor(0), track.instance.plugin()->desc}) {
        std::vector<std::string> texts{desc->id,      desc->name,       desc->vendor,
                                       desc->url,     desc->manual_url, desc->support_url,
                                       desc->version, desc->description};
        for (const char* const* feature = desc->features; *feature != nullptr; ++feature)
            texts.emplace_back(*feature);
        EXPECT_EQ(texts, (std::vector<std::string>{
                             kId, "TessellaDuckwork", "Orlavenko", "", "", "", TD_VERSION,
                             "Spectral dynamics processor with inter-plugin sidechain",
                             "audio-effect", "compressor", "spectral"}));
    }
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
    for (const std::size_t config : {1U, 0U}) {
        const auto configs = host::audioPortConfigs(track.instance);
        ASSERT_EQ(configs.size(), 2U);
        ASSERT_TRUE(host::selectAudioPortConfig(track.instance, configs[config].id));
        const auto inputs = host::audioPorts(track.instance, true);
        const auto outputs = host::audioPorts(track.instance, false);
        ASSERT_EQ(inputs.size(), 1 + config) << "the second configuration has a sidechain";
        ASSERT_EQ(outputs.size(), 1U);
        EXPECT_EQ(configs[config].input_port_count, inputs.size());
        EXPECT_EQ(inputs[0].in_place_pair, outputs[0].id);
        EXPECT_EQ(outputs[0].in_place_pair, inputs[0].id);
        for (std::size_t port = 0; port < inputs.size(); ++port) {
            EXPECT_EQ(inputs[port].flags, CLAP_AUDIO_PORT_SUPPORTS_64BITS |
                                              (port == 0 ? unsigned{CLAP_AUDIO_PORT_IS_MAIN} : 0U));
            EXPECT_EQ(inputs[port].channel_count, 2U);
            EXPECT_STREQ(inputs[port].port_type, CLAP_PORT_STEREO);
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
