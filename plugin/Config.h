/// What the plug-in is, for the framework layer and the factory.
#pragma once

#include "adapter/Config.h"

extern const iplug::Config kConfig;
