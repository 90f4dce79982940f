#include "Variant.h"

#include <string>

namespace LumoSim {

uint32_t GenTLVersionMinor() {
#ifdef LUMOSIM_GENTL_1_0
    return 0;
#else
    return 6;
#endif
}

Config ConfigWithoutFile() {
#ifdef LUMOSIM_NO_INTERFACES
    Config cfg;
    std::string error;
    Config::Parse(R"({"interfaces": []})", cfg, error);
    return cfg;
#else
    return Config::Default();
#endif
}

}  // namespace LumoSim

#ifndef LUMOSIM_NO_EVENTFLUSH
extern "C" {
namespace GenTL {

GC_API EventFlush(EVENT_HANDLE hEvent) {
    return LumoSim::FlushEvent(hEvent);
}

}  // namespace GenTL
}  // extern "C"
#endif
