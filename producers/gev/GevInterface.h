#pragma once

#include <GenTL/GenTL.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "DeviceRecord.h"
#include "FeatureTable.h"
#include "GevDevice.h"
#include "InfoReply.h"

namespace LumoGev {

// The one interface: every GigE Vision camera that Aravis discovers on the host's networks.
class CInterface {
public:
    static constexpr const char* kId = "GEV";

    explicit CInterface(void* parent);
    CInterface(const CInterface&) = delete;
    CInterface& operator=(const CInterface&) = delete;

    void* handle = nullptr;
    void* parentSystem = nullptr;
    CFeatureTable features{"InterfacePort"};
    std::vector<std::shared_ptr<CDevice>> open;

    // Returns whether the list changed.
    bool UpdateDevices();
    const std::vector<DeviceRecord>& Devices() const { return devices_; }
    const DeviceRecord* Lookup(const std::string& idOrAddress) const;
    CDevice* OpenDevice(const std::string& id) const;

    InfoReply DeviceInfo(const DeviceRecord& r, GenTL::DEVICE_INFO_CMD cmd) const;
    static InfoReply Info(GenTL::INTERFACE_INFO_CMD cmd);

private:
    void BuildFeatures();
    std::vector<DeviceRecord> devices_;
    uint32_t selector_ = 0;
};

int64_t MacValue(const std::array<uint8_t, 6>& mac);

}  // namespace LumoGev
