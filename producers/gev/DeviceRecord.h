#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace LumoGev {

// What discovery knows about one camera.
struct DeviceRecord {
    std::string id, vendor, model, serial, manufacturerInfo;
    std::array<uint8_t, 6> mac{};  // as written, most significant byte first
    uint32_t ip = 0;               // network byte order
    uint32_t subnetMask = 0, gateway = 0;
    bool bootstrapRead = false;
    uint64_t tickFrequency = 0;
    bool controlled = false;  // another application holds control privilege
    std::string hostInterface;
    uint32_t hostAddress = 0, hostMask = 0;

    std::string DisplayName() const { return vendor + " " + model + " (" + serial + ")"; }
};

}  // namespace LumoGev
