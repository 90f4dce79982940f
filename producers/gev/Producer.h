#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "FeatureTable.h"
#include "GevDevice.h"
#include "GevInterface.h"
#include "GevStream.h"

namespace LumoGev {

enum class Kind { System, Interface, Device, RemoteDevice, Stream, Buffer, Event };

// The system module: the one interface and the producer's own information.
class CSystem {
public:
    CSystem();
    void* handle = nullptr;
    bool listed = false;                // TLUpdateInterfaceList was called
    std::shared_ptr<CInterface> iface;  // open interface, or null
    CFeatureTable features{"TLPort"};

private:
    uint32_t selector_ = 0;
};

// Handle values are counters, never addresses, and never reused: a stale handle can only miss.
// Streams and devices are held by shared pointers so that a call that waits or talks to the
// camera outside the lock keeps its object alive.
class CHandleTable {
public:
    void* Add(Kind kind, std::shared_ptr<void> object);
    void Remove(void* handle) { map_.erase(handle); }
    template <typename T>
    std::shared_ptr<T> Get(void* handle, Kind kind) const {
        const auto it = map_.find(handle);
        if (it == map_.end() || it->second.kind != kind)
            return nullptr;
        return std::static_pointer_cast<T>(it->second.object);
    }
    bool Has(void* handle, Kind& kind) const;

private:
    struct Entry {
        Kind kind;
        std::shared_ptr<void> object;
    };
    std::unordered_map<void*, Entry> map_;
    uintptr_t next_ = 0x6E00;
};

struct CProducer {
    CHandleTable handles;
    std::shared_ptr<CSystem> system;  // open system module, or null
};

// The producer while the library is initialised; null before GCInitLib and after GCCloseLib.
CProducer* Producer();
void SetProducer(std::unique_ptr<CProducer> p);
std::mutex& LibraryLock();

std::string ModulePath();

}  // namespace LumoGev
