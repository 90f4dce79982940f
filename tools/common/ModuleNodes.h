#pragma once

#include "LumoGenICam.h"

namespace lumoclient {

// The GenTL modules of an open camera that carry a feature description.
enum class Module { System, Interface, Device, Remote, Stream };

// "system", "interface", "device", "remote" or "stream".
const char* ModuleName(Module module);
// The module's description file; null where the camera has none (not open).
VEXOGENICAM::IXml* ModuleXml(VEXOGENICAM::ICamera* camera, Module module);
// The module's node map; null where it has no description.
GenApi::INodeMap* NodeMapOf(VEXOGENICAM::ICamera* camera, Module module);

}  // namespace lumoclient
