#include "FaultInjector.h"

namespace LumoSim {

int32_t CFaultInjector::OnCall(const std::string& function) {
    const uint64_t n = ++calls_[function];
    for (const auto& f : cfg_.callFaults) {
        if (f.function != function)
            continue;
        if (f.mode == "always" || (f.mode == "nth" && n == f.n) || (f.mode == "after" && n > f.n)) {
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
