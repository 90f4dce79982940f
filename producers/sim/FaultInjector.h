#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Config.h"

namespace LumoSim {

// Applies the configured faults: failing calls, failing registers, slow calls.
class CFaultInjector {
public:
    explicit CFaultInjector(const Config& cfg) : cfg_(cfg) {}

    // Counts the call and returns the error it must fail with, or 0.
    int32_t OnCall(const std::string& function);
    uint32_t DelayMs(const std::string& function) const;
    int32_t OnRegister(const std::string& module, uint64_t address, size_t length,
                       bool write) const;

private:
    const Config& cfg_;
    std::map<std::string, uint64_t> calls_;
};

}  // namespace LumoSim
