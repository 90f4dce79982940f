#include "ConfigInfo.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "ApiCall.h"
#include "Device.h"

using namespace GenTL;

namespace LumoSim {
namespace {

std::vector<uint8_t> Ipv4Bytes(const std::string& dotted) {
    std::vector<uint8_t> b(4, 0);
    std::istringstream s(dotted);
    std::string part;
    for (size_t i = 0; i < 4 && std::getline(s, part, '.'); ++i) {
        b[i] = static_cast<uint8_t>(std::atoi(part.c_str()));
    }
    return b;
}

// The GigE Vision extras 1100-1106.
InfoValue GevInfo(const DeviceConfig& c, DEVICE_INFO_CMD cmd) {
    if (cmd == 1100)
        return InfoValue::Buffer(std::vector<uint8_t>(c.mac.rbegin(), c.mac.rend()));
    if (cmd == 1104)
        return InfoValue::String(c.gevText);
    return InfoValue::Buffer(Ipv4Bytes(c.gevAddr[static_cast<size_t>(cmd - 1101)]));
}

}  // namespace

InfoValue InterfaceInfo(const InterfaceConfig& c, INTERFACE_INFO_CMD cmd) {
    using C = InterfaceConfig;
    if (auto v = InfoValue::Text(c, cmd,
                                 {{INTERFACE_INFO_ID, &C::id},
                                  {INTERFACE_INFO_DISPLAYNAME, &C::displayName},
                                  {INTERFACE_INFO_TLTYPE, &C::tlType}}))
        return *v;
    Fail(GC_ERR_NOT_IMPLEMENTED, "unknown INTERFACE_INFO command " + std::to_string(cmd));
}

InfoValue DeviceInfo(const DeviceConfig& c, const CDevice* open, DEVICE_INFO_CMD cmd) {
    using C = DeviceConfig;
    if (auto v = InfoValue::Text(c, cmd,
                                 {{DEVICE_INFO_ID, &C::id},
                                  {DEVICE_INFO_VENDOR, &C::vendor},
                                  {DEVICE_INFO_MODEL, &C::model},
                                  {DEVICE_INFO_TLTYPE, &C::tlType},
                                  {DEVICE_INFO_DISPLAYNAME, &C::displayName},
                                  {DEVICE_INFO_SERIAL_NUMBER, &C::serial},
                                  {DEVICE_INFO_VERSION, &C::version}}))
        return *v;
    switch (cmd) {
        case DEVICE_INFO_ACCESS_STATUS:
            return InfoValue::I32(!open ? c.accessStatus
                                  : open->openFlags == DEVICE_ACCESS_READONLY
                                      ? DEVICE_ACCESS_STATUS_OPEN_READONLY
                                      : DEVICE_ACCESS_STATUS_OPEN_READWRITE);
        case DEVICE_INFO_USER_DEFINED_NAME:
            Expect(!c.userName.empty(), GC_ERR_NOT_AVAILABLE,
                   "the device has no user-defined name");
            return InfoValue::String(c.userName);
        case DEVICE_INFO_TIMESTAMP_FREQUENCY:
            return InfoValue::U64(c.timestampFrequency);
        default:
            if (cmd >= 1100 && cmd <= 1106 && c.tlType == "GEV")
                return GevInfo(c, cmd);
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown DEVICE_INFO command " + std::to_string(cmd));
    }
}

}  // namespace LumoSim
