#include "FaultInjector.h"

namespace LumoSim {

namespace {

// Whether the n-th call (counted from 1) of the function falls into the fault's window.
bool Hits(const CallFault& f, uint64_t n) {
    if (f.mode == "always") {
        return true;
    }
    const uint64_t first = f.mode == "nth" ? f.n : f.n + 1;
    if (n < first) {
        return false;
    }
    const uint64_t count = f.count != 0 ? f.count : (f.mode == "nth" ? 1 : UINT64_MAX);
    return n - first < count;
}

}  // namespace

int32_t CFaultInjector::OnCall(const std::string& function) {
    const uint64_t n = ++calls_[function];
    if (cleared_) {
        return 0;
    }
    for (const auto& f : cfg_.callFaults) {
        if (f.function == function && Hits(f, n)) {
            return f.error;
        }
    }
    return 0;
}

uint32_t CFaultInjector::DelayMs(const std::string& function) const {
    auto it = cfg_.delaysMs.find(function);
    return it == cfg_.delaysMs.end() ? 0 : it->second;
}

int32_t CFaultInjector::OnRegister(const std::string& module, uint64_t address, size_t length,
                                   bool write) const {
    if (cleared_) {
        return 0;
    }
    for (const auto& f : cfg_.registerFaults) {
        if (f.module != module || address > f.address || address + length <= f.address)
            continue;
        if (f.access == "both" || (f.access == "write") == write) {
            return f.error;
        }
    }
    return 0;
}

}  // namespace LumoSim
