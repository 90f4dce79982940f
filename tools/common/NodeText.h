#pragma once

#include "GenApi/GenApi.h"

namespace lumoclient {

// "RO", "RW", ...; "??" where the mode is undefined.
const char* AccessModeName(GenApi::EAccessMode mode);
// A node's principal interface in words ("integer", "enumeration entry", ...).
const char* InterfaceTypeName(GenApi::EInterfaceType type);
// "beginner", "expert", "guru" or "invisible"; empty where it is undefined.
const char* VisibilityName(GenApi::EVisibility visibility);

}  // namespace lumoclient
