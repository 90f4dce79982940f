#pragma once

#include <cstdint>

// Public enumerations of the camera-access interface. All of them are 32 bits
// wide so that their values travel unchanged across the library boundary.
namespace VEXOGENICAM {

// Transport-layer kinds, one bit each so that DiscoveryByTLType takes a mask.
enum TL_TYPE : std::int32_t {
    TL_UNKNOWN = 0,
    TL_GEV = 1,
    TL_U3V = 2,
    TL_CL = 4,
    TL_CXP = 8,
    TL_IIDC = 16,
    TL_UVC = 32,
    TL_CLHS = 64,
    TL_ETHERNET = 128,
    TL_PCI = 256,
};

// Mask that selects every producer, whatever its transport layer.
constexpr unsigned long long TL_TYPE_ALL = 511;

// Device access status exactly as the producer reports it.
enum DEVICE_STATUS : std::int32_t {
    DEVICE_STATUS_UNKNOWN = 0,
    DEVICE_STATUS_READWRITE = 1,
    DEVICE_STATUS_READONLY = 2,
    DEVICE_STATUS_NOACCESS = 3,
    DEVICE_STATUS_BUSY = 4,
    DEVICE_STATUS_OPEN_READWRITE = 5,
    DEVICE_STATUS_OPEN_READONLY = 6,
};

// Keys of a device record's extra (GigE Vision network) information.
enum EX_INFOID : std::int32_t {
    EX_INFO_IP = 1,          // dotted IPv4 address
    EX_INFO_MAC = 2,         // "AA:BB:CC:DD:EE:FF"
    EX_INFO_NET_ADDR_3 = 3,  // dotted IPv4 (producer-specific meaning, e.g. subnet mask)
    EX_INFO_NET_ADDR_4 = 4,  // dotted IPv4 (e.g. gateway)
    EX_INFO_NET_TEXT_5 = 5,  // the producer's text as returned
    EX_INFO_NET_ADDR_6 = 6,  // dotted IPv4
    EX_INFO_NET_ADDR_7 = 7,  // dotted IPv4
};

// How ICamera::Open asks the producer for the device.
enum DEVICE_OPEN_MODE : std::int32_t {
    DEVICE_OPEN_MODE_CONTROL = 0,    // control access, others may read
    DEVICE_OPEN_MODE_EXCLUSIVE = 1,  // nobody else may open the device
    DEVICE_OPEN_MODE_READONLY = 2,   // read-only access
};

// How ICamera::GrabImage delivers images.
enum GRAB_STRATEGY : std::int32_t {
    GRAB_STRATEGY_ONE_BY_ONE = 0,      // every image, in stream order
    GRAB_STRATEGY_LATEST_IMAGE = 1,    // the newest image; waits for one if none is held
    GRAB_STRATEGY_UPCOMING_IMAGE = 2,  // drops the held image and waits for the next one
};

// The module whose events a notification registration listens to.
enum NOTIFY_SRC : std::int32_t {
    NOTIFY_SRC_DEVICE = 1,
    NOTIFY_SRC_REMOTE_DEVICE = 2,
    NOTIFY_SRC_DATA_STREAM = 3,
};

// GenTL event types, passed unchanged to the producer.
enum NOTIFY_TYPE : std::int32_t {
    NOTIFY_TYPE_ERROR = 0,
    NOTIFY_TYPE_NEW_BUFFER = 1,
    NOTIFY_TYPE_FEATURE_INVALIDATE = 2,
    NOTIFY_TYPE_FEATURE_CHANGE = 3,
    NOTIFY_TYPE_REMOTE_DEVICE = 4,
    NOTIFY_TYPE_MODULE = 5,
};

}  // namespace VEXOGENICAM
