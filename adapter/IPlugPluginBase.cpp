#include "adapter/IPlugPluginBase.h"

namespace iplug {

IPluginBase::IPluginBase(const Config& config) : IEditorDelegate(config) {
    params.reserve(static_cast<std::size_t>(config.paramCount));
}

void IPluginBase::OnParamReset(ParamSource source) {
    for (int index = 0; index < NParams(); ++index)
        OnParamChange(index, source, -1);
}

} // namespace iplug
