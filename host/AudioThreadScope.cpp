#include "host/AudioThreadScope.h"

namespace host {
namespace {

thread_local int tDepth = 0;

} // namespace

AudioThreadScope::AudioThreadScope() { ++tDepth; }

AudioThreadScope::~AudioThreadScope() { --tDepth; }

bool AudioThreadScope::isInside() { return tDepth > 0; }

} // namespace host
