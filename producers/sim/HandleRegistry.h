#pragma once

#include <cstdint>
#include <unordered_map>

#include "Module.h"

namespace LumoSim {

// Opaque handle values mapped to live objects. Values are never reused, so a stale or foreign
// handle can only miss, never reach another object.
class CHandleRegistry {
public:
    void* Add(Kind kind, void* object);
    void Remove(void* handle) { map_.erase(handle); }
    // The object behind `handle` if it is of `kind`, else null.
    template <typename T>
    T* Get(void* handle, Kind kind) const {
        auto it = map_.find(handle);
        return it != map_.end() && it->second.kind == kind ? static_cast<T*>(it->second.object)
                                                           : nullptr;
    }
    // Any module with a port (system, interface, device, remote device, stream).
    CModule* Port(void* handle) const;
    Kind KindOf(void* handle, bool& found) const;

private:
    struct Entry {
        Kind kind;
        void* object;
    };
    std::unordered_map<void*, Entry> map_;
    uintptr_t next_ = 0x5100;
};

}  // namespace LumoSim
