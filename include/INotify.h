#pragma once

#include <cstddef>

#include "LumoTypes.h"

namespace VEXOGENICAM {

// Receives the events of a registration made with ICamera::RegisterNotify.
// The library calls OnNotify from a delivery thread of its own, one thread per
// registration, for as long as the registration lasts; the call must not
// block for long and must not call RegisterNotify or Close of its camera
// (both wait for the delivery thread to end). `data` holds
// the producer's event data (at most 4096 bytes) and is valid only during the
// call.
class INotify {
public:
    virtual void OnNotify(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data,
                          std::size_t size) = 0;

protected:
    ~INotify() = default;
};

}  // namespace VEXOGENICAM
