// The device module's own features: what the producer knows about the camera it opened.
#include <arpa/inet.h>

#include "GentlError.h"
#include "GevDevice.h"

namespace LumoGev {

int64_t MacValue(const std::array<uint8_t, 6>& mac) {
    int64_t v = 0;
    for (uint8_t b : mac)
        v = v << 8 | b;
    return v;
}

void CDevice::BuildFeatures() {
    auto& f = features;
    const DeviceRecord& r = record;
    f.String("DeviceID", [&r] { return r.id; });
    f.String("DeviceVendorName", [&r] { return r.vendor; });
    f.String("DeviceModelName", [&r] { return r.model; });
    f.String("DeviceSerialNumber", [&r] { return r.serial; });
    f.String("DeviceDisplayName", [&r] { return r.DisplayName(); });
    f.String("DeviceManufacturerInfo", [&r] { return r.manufacturerInfo; });
    f.String("DeviceVersion", [this] { return CameraString("DeviceVersion"); });
    f.Enumeration("DeviceType", {{"GigEVision", 0}}, [] { return int64_t{0}; });
    f.Enumeration("DeviceAccessStatus", {{"OpenReadWrite", 5}, {"OpenReadOnly", 6}},
                  [this] { return int64_t{access == GenTL::DEVICE_ACCESS_READONLY ? 6 : 5}; });
    f.Integer("DeviceTimestampFrequency", [this] { return int64_t(tickFrequency_); });
    f.Integer("GevDeviceIPAddress", [&r] { return int64_t{ntohl(r.ip)}; });
    f.Integer("GevDeviceSubnetMask", [&r] { return int64_t{ntohl(r.subnetMask)}; });
    f.Integer("GevDeviceGateway", [&r] { return int64_t{ntohl(r.gateway)}; });
    f.Integer("GevDeviceMACAddress", [&r] { return MacValue(r.mac); });
    // Aravis hands register bytes through unchanged, which is the standard mechanism.
    f.Enumeration(
        "DeviceEndianessMechanism", {{"Legacy", 1}, {"Standard", 2}}, [] { return int64_t{2}; },
        [](int64_t) {});
    f.Boolean("DeviceIsLost", [this] { return int64_t{lost_.load()}; });
    f.Integer(
        "StreamSelector", [] { return int64_t{0}; },
        [](int64_t v) {
            if (v != 0)
                Fail(GenTL::GC_ERR_INVALID_VALUE, "the device has one stream");
        });
    f.String("StreamID", [this] { return StreamId(); });
    f.Finish("LumoGevDevice.xml", "LumoGevDevice");
}

}  // namespace LumoGev
