#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Config.h"
#include "Event.h"
#include "RegisterSpace.h"

namespace LumoSim {

enum class Kind { System, Interface, Device, RemoteDevice, Stream, Buffer, Event };

class CDevice;

// Whatever a GenTL port handle refers to: a register space with its description file.
class CModule {
public:
    virtual ~CModule() = default;

    Kind kind = Kind::System;
    void* handle = nullptr;
    std::string id, tlType, vendor, model, moduleName, portName, faultName;
    CRegisterSpace regs;
    std::string url;
    uint64_t xmlAddress = 0;
    uint64_t xmlSize = 0;
    DescriptionConfig desc;
    CDevice* device = nullptr;  // device this module belongs to (null for system and interface)
    std::map<int32_t, std::shared_ptr<CEvent>> events;  // guarded by eventLock
    std::shared_ptr<std::mutex> eventLock = std::make_shared<std::mutex>();

    // Places the description file into the register space and fills the URL.
    void InstallXml(const std::string& xml, const std::string& fileBase);
    // Pads `file` as the description options say; returns the length the URL declares.
    size_t AddPadding(std::vector<uint8_t>& file) const;
    static constexpr size_t kPaddingBytes = 64;
    void RaiseEvent(int32_t type, CEvent::Entry entry);
};

}  // namespace LumoSim
