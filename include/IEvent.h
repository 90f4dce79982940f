#pragma once

#include <cstddef>

#include "LumoTypes.h"

namespace VEXOGENICAM {

// A listener given to ICamera::RegisterEventListener. Cameras of the base kind
// neither store nor call it; camera kinds that raise events of their own call
// OnEvent with what they received.
class IEvent {
public:
    virtual void OnEvent(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data,
                         std::size_t size) = 0;

protected:
    ~IEvent() = default;
};

}  // namespace VEXOGENICAM
