#include "HandleRegistry.h"

namespace LumoSim {

void* CHandleRegistry::Add(Kind kind, void* object) {
    next_ += 0x10;
    void* h = reinterpret_cast<void*>(next_);
    map_[h] = Entry{kind, object};
    return h;
}

CModule* CHandleRegistry::Port(void* handle) const {
    auto it = map_.find(handle);
    if (it == map_.end() || it->second.kind == Kind::Buffer || it->second.kind == Kind::Event) {
        return nullptr;
    }
    return static_cast<CModule*>(it->second.object);
}

Kind CHandleRegistry::KindOf(void* handle, bool& found) const {
    auto it = map_.find(handle);
    found = it != map_.end();
    return found ? it->second.kind : Kind::System;
}

}  // namespace LumoSim
