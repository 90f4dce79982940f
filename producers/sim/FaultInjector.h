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
    // Ends every call and register fault from now on (the calls are still counted); delays and
    // the other configured behaviours stay.
    void Clear() { cleared_ = true; }

private:
    const Config& cfg_;
    std::map<std::string, uint64_t> calls_;
    bool cleared_ = false;
};

}  // namespace LumoSim
