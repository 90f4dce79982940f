#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "CameraRegisters.h"
#include "Config.h"
#include "DataStream.h"
#include "Module.h"

namespace LumoSim {

class CInterface;
class CXmlBuilder;

struct FrameSettings {
    SceneParams scene;
    bool chunks = false;
    bool chunkEnabled[CamReg::kChunkCount] = {};
    double frameRate = 0;
    bool triggered = false;
};

class CDevice : public CModule {
public:
    CDevice(CInterface& parent, const DeviceConfig& cfg);
    ~CDevice() override;

    CInterface& parent;
    DeviceConfig cfg;
    int32_t openFlags = 0;
    std::unique_ptr<CModule> remote;  // null without a remote port
    std::vector<std::unique_ptr<CDataStream>> streams;
    std::atomic<bool> dropped{false};

    // Camera head state, guarded by camLock (port accesses of this device's modules hold it).
    std::mutex camLock;
    CModule* camera = nullptr;  // module carrying the camera registers
    bool armed = false;
    uint64_t pendingTriggers = 0;
    uint64_t framesSent = 0;

    FrameSettings Snapshot();  // takes camLock
    uint64_t PayloadSizeLocked() const;
    bool ConsumeFrameSlotLocked();  // false while not armed or waiting for a trigger
    std::vector<std::string> StreamIds() const;
    static constexpr Kind kHandleKind = Kind::Device;

private:
    void BuildDeviceModule();
    void BuildCamera(CModule& m, CXmlBuilder& x, bool inDeviceModule);
    int32_t CheckUnlocked() const;
    void FeatureWritten(const std::string& name);
};

}  // namespace LumoSim
