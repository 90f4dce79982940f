#pragma once

#include <arv.h>

#include <cstdint>

namespace GenApi {

// Receiver of the engine's register traffic; implemented by the node map.
class IBridgeTarget {
public:
    virtual bool BridgeRead(uint64_t address, uint32_t size, void* buffer, GError** error) = 0;
    virtual bool BridgeWrite(uint64_t address, uint32_t size, const void* buffer,
                             GError** error) = 0;

protected:
    ~IBridgeTarget() = default;
};

// Creates the ArvDevice that the engine reads and writes through. The caller
// owns the returned reference.
ArvDevice* CreateBridgeDevice(IBridgeTarget* target);

}  // namespace GenApi
