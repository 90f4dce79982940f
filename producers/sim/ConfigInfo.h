#pragma once

// Interface and device info answered from the configuration, before and after opening; unknown
// commands throw CApiError.
#include <GenTL/GenTL.h>

#include "Config.h"
#include "InfoValue.h"

namespace LumoSim {

class CDevice;

InfoValue InterfaceInfo(const InterfaceConfig& c, GenTL::INTERFACE_INFO_CMD cmd);
// `open` is the opened device, or null.
InfoValue DeviceInfo(const DeviceConfig& c, const CDevice* open, GenTL::DEVICE_INFO_CMD cmd);

}  // namespace LumoSim
