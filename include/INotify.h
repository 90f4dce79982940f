#pragma once

#include <cstddef>

#include "LumoTypes.h"

namespace VEXOGENICAM {

// Receives the events of a registration made with ICamera::RegisterNotify.
// The library calls OnNotify from a delivery thread of its own, one thread per
// registration, for as long as the registration lasts, and never holds a
// camera lock while doing so. The call should not block for long. It may call
// any method of its camera and of other cameras (IsOpen, feature reads,
// GrabImage, StartGrab, StopGrab, ...) except those that end registrations and
// so wait for this very thread: Close, Open, Release and RegisterNotify with a
// null notify on its camera, and UnInit. `data` holds the producer's event
// data (at most 4096 bytes) and is valid only during the call.
// For NOTIFY_TYPE_REMOTE_DEVICE (device events) the camera first hands the
// event's data to its remote node map (GetRMXml()->GetNodeMap()), as a
// GenApi::CEventAdapter does: the map's event features (for example
// EventExposureEndTimestamp) read that event, and their node callbacks have
// run on the delivery thread, before OnNotify is called.
class INotify {
public:
    virtual void OnNotify(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data,
                          std::size_t size) = 0;

protected:
    ~INotify() = default;
};

}  // namespace VEXOGENICAM
