#include "Producer.h"

#include <dlfcn.h>

#include "XmlBuilder.h"

namespace LumoSim {

CInterface::CInterface(CSystem& p, const InterfaceConfig& c) : parent(p), cfg(c) {
    kind = Kind::Interface;
    id = cfg.id;
    tlType = cfg.tlType;
    vendor = "Lumo";
    model = "LumoSim";
    moduleName = "TLInterface";
    portName = "InterfacePort";
    faultName = "interface";
    desc = cfg.xml;
    Rebuild();
}

CInterface::~CInterface() = default;

const DeviceConfig* CInterface::FindDevice(const std::string& devId) const {
    for (const auto& d : cfg.devices) {
        if (d.id == devId)
            return &d;
    }
    return nullptr;
}

CDevice* CInterface::OpenDevice(const std::string& devId) const {
    for (const auto& d : open) {
        if (d->id == devId)
            return d.get();
    }
    return nullptr;
}

void CInterface::Rebuild() {
    regs = CRegisterSpace();
    CXmlBuilder x(regs, portName);
    x.String("InterfaceID", 0x0, 64, cfg.id);
    x.String("InterfaceDisplayName", 0x40, 128, cfg.displayName);
    x.String("InterfaceType", 0xC0, 64, cfg.tlType);
    x.Int("InterfaceTLVersionMajor", 0x100, 4, 1, false);
    x.Int("InterfaceTLVersionMinor", 0x104, 4, 6, false);
    x.Command("DeviceUpdateList", 0x108, [](std::vector<uint8_t>&) { return 0; });
    std::vector<std::string> vendors, models, serials;
    for (const auto& devId : deviceList) {
        const DeviceConfig* d = FindDevice(devId);
        vendors.push_back(d ? d->vendor : "");
        models.push_back(d ? d->model : "");
        serials.push_back(d ? d->serial : "");
    }
    x.Selector("DeviceSelector", 0x10C, static_cast<int64_t>(deviceList.size()) - 1,
               {"DeviceID", "DeviceVendorName", "DeviceModelName", "DeviceSerialNumber"});
    x.IndexedString("DeviceID", 0x1000, 64, "DeviceSelector", deviceList);
    x.IndexedString("DeviceVendorName", 0x2000, 64, "DeviceSelector", vendors);
    x.IndexedString("DeviceModelName", 0x3000, 64, "DeviceSelector", models);
    x.IndexedString("DeviceSerialNumber", 0x4000, 64, "DeviceSelector", serials);
    x.Category("DeviceEnumeration", {"DeviceUpdateList", "DeviceSelector", "DeviceID",
                                     "DeviceVendorName", "DeviceModelName", "DeviceSerialNumber"});
    InstallXml(x.Finish("Lumo", "LumoSim"), "LumoSim_" + cfg.id);
}

CSystem::CSystem() {
    const Config& c = Current()->config;
    kind = Kind::System;
    id = Current()->path;
    tlType = c.tlType;
    vendor = c.vendor;
    model = c.model;
    moduleName = "TLSystem";
    portName = "TLPort";
    faultName = "system";
    desc = c.systemXml;
    Rebuild();
}

CSystem::~CSystem() = default;

void CSystem::Rebuild() {
    const Config& c = Current()->config;
    regs = CRegisterSpace();
    CXmlBuilder x(regs, portName);
    x.String("TLID", 0x0, 256, id);
    x.String("TLVendorName", 0x100, 64, c.vendor);
    x.String("TLModelName", 0x140, 64, c.model);
    x.String("TLVersion", 0x180, 64, c.version);
    x.String("TLPath", 0x200, 256, Current()->path);
    x.String("TLType", 0x300, 64, c.tlType);
    x.Int("GenTLVersionMajor", 0x340, 4, 1, false);
    x.Int("GenTLVersionMinor", 0x344, 4, 6, false);
    x.Command("InterfaceUpdateList", 0x348, [](std::vector<uint8_t>&) { return 0; });
    x.Selector("InterfaceSelector", 0x34C, static_cast<int64_t>(interfaceList.size()) - 1,
               {"InterfaceID"});
    x.IndexedString("InterfaceID", 0x1000, 64, "InterfaceSelector", interfaceList);
    x.Category("SystemInformation", {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLPath",
                                     "TLType", "GenTLVersionMajor", "GenTLVersionMinor"});
    InstallXml(x.Finish(c.vendor, c.model), "LumoSim_System");
}

std::string ModulePath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ModulePath), &info) != 0 && info.dli_fname) {
        return info.dli_fname;
    }
    return {};
}

}  // namespace LumoSim
