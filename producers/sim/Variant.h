#pragma once

// What the producers built from these sources differ in. Variant.cpp is the only file compiled
// once per producer (with its definitions); everything else is shared. Which functions a producer
// exports is decided by its version script, except EventFlush, which Variant.cpp defines.
#include <GenTL/GenTL.h>

#include <cstdint>

#include "Config.h"

namespace LumoSim {

// The GenTL version reported by TL_INFO_GENTL_VER_MINOR (the major version is 1).
uint32_t GenTLVersionMinor();
// The configuration without a configuration file.
Config ConfigWithoutFile();
// The body of EventFlush, for the producers that export it.
GenTL::GC_ERROR FlushEvent(GenTL::EVENT_HANDLE hEvent);

}  // namespace LumoSim
