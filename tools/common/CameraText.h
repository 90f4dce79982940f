#pragma once

#include <string>

#include "LumoGenICam.h"

namespace lumoclient {

// The transport layer as device lists show it ("GEV", "U3V", ...); "unknown"
// for a type no producer should report.
const char* TlTypeName(VEXOGENICAM::TL_TYPE type);
// A device record's access status in words ("available", "busy", ...).
const char* AccessStatusName(VEXOGENICAM::DEVICE_STATUS status);
// The transport layers a comma-separated list names (gev, u3v, ...; case and
// surrounding blanks do not matter), as a mask of TL_TYPE bits. Throws
// std::invalid_argument naming the first unknown (or blank) item and the
// known ones; an empty list gives 0.
unsigned long long ParseTlMask(const std::string& list);
// Why ICamera::Open refused, from its result code.
const char* OpenFailure(int code);

}  // namespace lumoclient
