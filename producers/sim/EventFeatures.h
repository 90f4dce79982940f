#pragma once

#include <cstdint>

#include "Event.h"

namespace LumoSim {

class CModule;
class CXmlBuilder;

// Device events of the camera head. Each kind has an entry of EventSelector,
// a notification switch (EventNotification under that selector) and the data
// features read from its event port. ExposureEnd's data: timestamp (8 bytes)
// then frame ID (8 bytes), little-endian.
namespace CamEvent {
constexpr uint64_t kSelector = 0x1300, kNotification = 0x1310;  // one word per kind
constexpr uint64_t kExposureEndId = 0x9010;
}  // namespace CamEvent

// Adds the event features to the camera module's description and their
// registers to its register space.
void AddEventFeatures(CModule& camera, CXmlBuilder& x);

// Whether the application switched the ExposureEnd notification on; the
// caller holds the device's camLock.
bool ExposureEndNotifiedLocked(const CModule& camera);

// EVENT_REMOTE_DEVICE data of one ExposureEnd.
CEvent::Entry ExposureEndEvent(uint64_t timestamp, uint64_t frameId);

}  // namespace LumoSim
