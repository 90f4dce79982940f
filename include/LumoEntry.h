#pragma once

#include <list>
#include <string>

#include "ICamera.h"
#include "ICameraInfo.h"
#include "LumoExport.h"
#include "LumoTypes.h"

// Entry functions of the library. Every function tolerates being called before
// Init or after UnInit and then answers an empty list or null.
namespace VEXOGENICAM {

class CCtiManager;

// The one producer manager of the process; null before Init and after UnInit.
extern LUMO_API CCtiManager* g_pCtiManager;

// Creates the producer manager and starts the rolling log. Call once, from one
// thread, before any other use; a second call does nothing.
LUMO_API void Init();
// Deletes the producer manager with every camera still alive and every
// producer. Release images, cameras and records first.
LUMO_API void UnInit();

// Cameras of one producer file beside the library, or of all of them when the
// argument is null or empty. Each record carries one reference for the
// caller: give it back with ICameraInfo::Release().
LUMO_API std::list<ICameraInfo*> Discovery(const char* producerFile = nullptr);
// Cameras of the producers whose first interface has one of the TL_TYPE bits
// of `mask` (TL_TYPE_ALL: every producer).
LUMO_API std::list<ICameraInfo*> DiscoveryByTLType(unsigned long long mask);

// The camera of a record; asking twice for the same device gives the same
// camera object.
LUMO_API ICamera* CreateCamera(ICameraInfo* info);
// The camera with this serial number, discovering once more if it is unknown.
LUMO_API ICamera* CreateCameraBySN(const char* serialNumber);

// Camera Link serial access is not offered: these answer empty lists and null.
LUMO_API std::list<std::string> GetCLProtocols();
LUMO_API std::list<std::string> GetCLSerials();
LUMO_API ICamera* CreateCameraWithCLCamOnly();

}  // namespace VEXOGENICAM
