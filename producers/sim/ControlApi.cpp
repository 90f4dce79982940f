// The test controls of Control.h. Not GenTL calls: they stay out of the call log and the fault
// injection, so that a test's own questions never change what it observes.
#include "Control.h"

#include "ApiCall.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

template <typename Body>
int32_t UnderLock(Body&& body) {
    std::lock_guard<std::mutex> lk(ApiLock());
    CProducer* p = LoadedProducer().get();
    if (p == nullptr) {
        return GC_ERR_NOT_INITIALIZED;
    }
    body(*p);
    return GC_ERR_SUCCESS;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t LumoSimClearFaults() {
    return UnderLock([](CProducer& p) { p.faults.Clear(); });
}

__attribute__((visibility("default"))) int32_t LumoSimHeld(uint64_t* devices, uint64_t* streams,
                                                           uint64_t* buffers) {
    if (devices == nullptr || streams == nullptr || buffers == nullptr) {
        return GC_ERR_INVALID_PARAMETER;
    }
    *devices = *streams = *buffers = 0;
    return UnderLock([&](CProducer& p) {
        if (!p.system) {
            return;
        }
        for (const auto& itf : p.system->open) {
            for (const auto& dev : itf->open) {
                ++*devices;
                for (const auto& ds : dev->streams) {
                    if (ds) {
                        std::lock_guard<std::mutex> g(*ds->lock);
                        ++*streams;
                        *buffers += ds->buffers.size();
                    }
                }
            }
        }
    });
}

}  // extern "C"
