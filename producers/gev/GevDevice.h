#pragma once

#include <GenTL/GenTL.h>
#include <arv.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "DeviceRecord.h"
#include "FeatureTable.h"
#include "GevStream.h"

namespace LumoGev {

// One opened camera: the Aravis device, its remote port, the device module's own registers and
// its one data stream.
class CDevice {
public:
    CDevice(const DeviceRecord& record, GenTL::DEVICE_ACCESS_FLAGS flags);
    ~CDevice();
    CDevice(const CDevice&) = delete;
    CDevice& operator=(const CDevice&) = delete;

    void* handle = nullptr;
    void* remoteHandle = nullptr;
    void* parentInterface = nullptr;
    const DeviceRecord record;
    const GenTL::DEVICE_ACCESS_FLAGS access;
    CFeatureTable features{"DevicePort"};
    std::shared_ptr<CStream> stream;  // open data stream, or null

    ArvDevice* Arv() const { return arv_; }
    bool Lost() const { return lost_; }
    const std::string& RemoteUrl() const { return remoteUrl_; }
    uint64_t TimestampFrequency() const { return tickFrequency_; }
    std::string StreamId() const { return record.id + "-Stream0"; }

    // Register access on the camera; safe without the producer lock (GVCP has its own).
    void ReadRemote(uint64_t address, uint8_t* dst, size_t size);
    void WriteRemote(uint64_t address, const uint8_t* src, size_t size);
    // The device's integer feature as the camera's own description defines it, or `fallback`.
    int64_t CameraInteger(const char* feature, int64_t fallback) const;
    std::string CameraString(const char* feature) const;

private:
    void BuildFeatures();
    static void OnControlLost(ArvGvDevice*, gpointer self);

    ArvDevice* arv_ = nullptr;
    std::atomic<bool> lost_{false};
    std::string remoteUrl_;
    uint64_t tickFrequency_ = 0;
    gulong lostSignal_ = 0;
};

}  // namespace LumoGev
