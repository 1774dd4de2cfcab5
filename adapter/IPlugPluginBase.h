/// The parameter side of the framework layer.
#pragma once

#include "adapter/IByteChunk.h"
#include "adapter/IEditorDelegate.h"
#include "adapter/IPlugParameter.h"

#include <atomic>
#include <memory>
#include <vector>

namespace iplug {

/// Who changed a parameter.
enum class ParamSource { Reset, Host, PresetRecall };

/// Holds the parameters and tells the instance of their changes.
class IPluginBase : public IEditorDelegate {
public:
    explicit IPluginBase(const Config& config);

    [[nodiscard]] int NParams() const noexcept { return static_cast<int>(params.size()); }
    /// The parameter of an index from 0 to NParams() - 1. [any]
    [[nodiscard]] IParam& GetParam(int index) noexcept { return *params[std::size_t(index)]; }
    [[nodiscard]] const IParam& GetParam(int index) const noexcept {
        return *params[std::size_t(index)];
    }

    /// Another number than before: a parameter has been set since. Read ahead of the values, it
    /// stands for them. [any]
    [[nodiscard]] unsigned ParamChanges() const noexcept {
        return paramChanges.load(std::memory_order_acquire); // the values set before it was stepped
    }

    /// A parameter has a new value. Hosts deliver changes on the audio thread while processing and
    /// on the main thread otherwise; the editor on its own. [any]
    virtual void OnParamChange(int index) = 0;
    /// The same with its origin and the event's offset in the block (-1 for none). [any]
    virtual void OnParamChange(int index, ParamSource /*source*/, int /*sampleOffset*/) {
        OnParamChange(index);
    }

    /// Appends the whole state; false, and the chunk is of no use, when that failed. [main]
    virtual bool SerializeState(IByteChunk& chunk) = 0;
    /// Takes the state from a position on. Returns the position behind what was taken, -1 when the
    /// parameters were not reached; what was read before that stays taken. [main]
    virtual int UnserializeState(const IByteChunk& chunk, int start) = 0;

protected:
    /// Appends a parameter: they are added in index order, before anything reads them. [main]
    void AddParam(const ParamSpec& row) {
        params.push_back(std::make_unique<IParam>(row, &paramChanges));
    }

    /// Announces every parameter's current value in index order. [main]
    void OnParamReset(ParamSource source);

private:
    std::atomic<unsigned> paramChanges = 0;
    std::vector<std::unique_ptr<IParam>> params; // unique_ptr: the atomic value cannot move
};

} // namespace iplug
