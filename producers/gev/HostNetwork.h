#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace LumoGev {

// The host interface through which an IPv4 address is reached (same subnet).
struct HostInterface {
    std::string name;
    uint32_t address = 0;  // network byte order
    uint32_t mask = 0;     // network byte order
};
std::optional<HostInterface> HostInterfaceFor(uint32_t deviceAddress);

// What a camera tells about itself through its bootstrap registers, read with plain GVCP
// READREG requests: reading takes no control privilege, so discovery does not disturb a
// camera that another application controls.
struct BootstrapInfo {
    uint32_t subnetMask = 0;  // network byte order
    uint32_t gateway = 0;     // network byte order
    uint32_t controlPrivilege = 0;
    uint64_t tickFrequency = 0;
};
std::optional<BootstrapInfo> ReadBootstrap(uint32_t deviceAddress, int timeoutMs);

uint32_t ParseIpv4(const std::string& dotted);  // network byte order, 0 when malformed

}  // namespace LumoGev
