#pragma once

#include "LumoTypes.h"

namespace VEXOGENICAM {

// A device record from discovery. Strings point into the record and stay valid
// while the caller holds its reference; give the reference back with Release().
class ICameraInfo {
public:
    virtual TL_TYPE GetTLType() = 0;
    virtual DEVICE_STATUS GetAccessStatus() = 0;
    // The producer's device ID.
    virtual const char* GetID() = 0;
    virtual const char* GetSN() = 0;
    virtual const char* GetManufacture() = 0;
    virtual const char* GetModel() = 0;
    virtual const char* GetDisplayName() = 0;
    virtual const char* GetUserDefineName() = 0;
    virtual const char* GetVersion() = 0;
    // Ticks per second of the device's time stamps; 0 when unknown.
    virtual long long GetTimestampFrequency() = 0;
    // GigE Vision network information; null when the key is absent.
    virtual const char* GetExInfo(EX_INFOID id) = 0;
    // Gives back the caller's reference; the record is deleted with its last one.
    virtual void Release() = 0;

protected:
    virtual ~ICameraInfo() = default;
};

}  // namespace VEXOGENICAM
