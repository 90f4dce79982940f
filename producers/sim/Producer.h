#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Config.h"
#include "Device.h"
#include "FaultInjector.h"
#include "HandleRegistry.h"
#include "Module.h"

namespace LumoSim {

class CSystem;

class CInterface : public CModule {
public:
    CInterface(CSystem& parent, const InterfaceConfig& cfg);
    ~CInterface() override;

    CSystem& parent;
    InterfaceConfig cfg;
    std::vector<std::string> deviceList;  // as of the last IFUpdateDeviceList
    std::vector<std::unique_ptr<CDevice>> open;
    const DeviceConfig* FindDevice(const std::string& id) const;
    CDevice* OpenDevice(const std::string& id) const;
    void Rebuild();  // refreshes the enumeration registers from deviceList
    static constexpr Kind kHandleKind = Kind::Interface;
};

class CSystem : public CModule {
public:
    CSystem();
    ~CSystem() override;

    std::vector<std::string> interfaceList;  // as of the last TLUpdateInterfaceList
    std::vector<std::unique_ptr<CInterface>> open;
    void Rebuild();
    static constexpr Kind kHandleKind = Kind::System;
};

// Process-wide producer state between GCInitLib and GCCloseLib.
class CProducer {
public:
    explicit CProducer(Config cfg) : config(std::move(cfg)), faults(config) {}

    Config config;
    CFaultInjector faults;
    CHandleRegistry handles;
    std::unique_ptr<CSystem> system;
    // Registered events by handle; the modules hold them too, by event type.
    std::unordered_map<void*, std::shared_ptr<CEvent>> events;
    std::string path;  // file of this producer
    std::mutex lock;   // serialises every call; blocking waits run without it
};

// The producer state, or null outside GCInitLib/GCCloseLib; only valid under its lock.
CProducer* Current();
std::string ModulePath();

}  // namespace LumoSim
