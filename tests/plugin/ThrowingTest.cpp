// An exception that reached the host would end it: none may leave the framework layer.
#include "adapter/IPlugCLAP.h"
#include "host/Gui.h"
#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

#include <new>

namespace {

/// Throws, unless calm, wherever the framework layer calls it.
class Thrower final : public iplug::IPlugCLAP {
public:
    Thrower(const iplug::InstanceInfo& info, int& timesThrown)
        : IPlugCLAP(info, {.paramCount = 1, .hasEditor = true}), thrown(timesThrown) {
        AddParam({"Any", "", 0.0, 0.0, 1.0, 1.0, iplug::ParamType::Int});
    }
    void CallLater() {
        std::thread([this] { runOnMainThread([this] { Throw(); }); }).join();
    }
    bool calm = false;

private:
    bool Throw() const {
        if (calm)
            return false;
        ++thrown;
        throw std::bad_alloc();
    }
    void OnActivate(bool begins) override { (void)(begins || Throw()); }
    void OnReset() override {}
    void OnParamChange(int /*index*/) override { Throw(); }
    void OnClear() override {
        EXPECT_TRUE(OnAudioThread());
        Throw();
    }
    void ProcessBlock(const double* const*, double* const*, int) override { Throw(); }
    void OnIdle() override { Throw(); }
    void* OpenWindow(void*) override { return Throw() ? this : nullptr; }
    void CloseWindow() override { Throw(); }
    void OnParentWindowResize(int, int) override { Throw(); }
    bool ConstrainEditorResize(int&, int&) const override { return Throw(); }
    bool SerializeState(iplug::IByteChunk&) override { return Throw(); }
    int UnserializeState(const iplug::IByteChunk&, int) override { return Throw() ? 0 : -1; }

    int& thrown;
};

TEST(Adapter, LetsNoExceptionReachTheHost) {
    const clap_plugin_descriptor_t descriptor{};
    int thrown = 0;
    host::HostCallbacks callbacks;
    {
        auto& plug = *new Thrower({&descriptor, callbacks.record()}, thrown);
        host::Instance instance(callbacks, plug.clapPlugin());
        ASSERT_TRUE(instance.init());
        host::Gui gui(instance);
        ASSERT_TRUE(gui.create());
        host::AudioBuffers audio(64);
        host::EventList event, sent;
        event.addParamValue(0, 1.0);
        const auto activate = [&] { return instance.activate(48000.0, 1, 64); };
        // clang-format off
        const struct {
            const char* what;
            std::function<bool()> call; ///< false when it says that it failed, or cannot say
            int throws = 1;
        } cases[] = {
            {"activate", activate},
            {"save", [&] { return host::saveState(instance).has_value(); }},
            {"load", [&] { return host::loadState(instance, {1, 2, 3}); }},
            {"set parent", [&] { return gui.setParent(1); }, 2}, // closes, opens
            {"show", [&] { return gui.show(); }},
            {"hide", [&] { return gui.hide(), false; }},
            {"adjust size", [&] { return gui.adjustSize({1, 1}).has_value(); }},
            {"set size", [&] { return gui.setSize({1, 1}); }},
            {"flush", [&] { return host::Params(instance).flush(event, sent), false; }},
            {"call back", [&] { return plug.CallLater(), instance.pumpMainThread() == 0; }, 2},
            {"activate calmly", [&] { plug.calm = true; return !activate(); }, 0},
            {"not calm any more", [&] { return plug.calm = false; }, 0},
            {"event", [&] { return instance.process(audio, 64, event, sent) != 0; }},
            {"block", [&] { return instance.process(audio, 64) != CLAP_PROCESS_ERROR; }},
            {"reset", [&] { return instance.reset(), false; }},
        };
        // clang-format on
        for (const auto& [what, call, throws] : cases) {
            thrown = 0;
            EXPECT_FALSE(call()) << what;
            EXPECT_EQ(thrown, throws) << what;
        }
        thrown = 0;
    }
    EXPECT_EQ(thrown, 2) << "the editor's end, and deactivation's";
}

} // namespace
