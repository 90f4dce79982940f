#include "Module.h"

#include <cstdio>

#include "Zip.h"

namespace LumoSim {

void CModule::InstallXml(const std::string& xml, const std::string& fileBase) {
    std::vector<uint8_t> file;
    std::string name = fileBase;
    if (desc.zipped) {
        file = CZip::StoreSingle(fileBase + ".xml", xml);
        name += ".zip";
    } else {
        file.assign(xml.begin(), xml.end());
        name += ".xml";
    }
    xmlSize = file.size();
    // Padding sits after the declared length, as devices that round their file area up do.
    if (desc.padding != "none") {
        file.resize(file.size() + 64, desc.padding == "nul" ? 0x00 : 0xFF);
    }
    xmlAddress = 0x100000;
    regs.Add(xmlAddress, std::move(file), true, false);
    char buf[256];
    std::snprintf(buf, sizeof buf, "Local:%s;%llX;%llX", name.c_str(),
                  static_cast<unsigned long long>(xmlAddress),
                  static_cast<unsigned long long>(xmlSize));
    url = desc.urlOverride.empty() ? std::string(buf) : desc.urlOverride;
}

void CModule::RaiseEvent(int32_t type, CEvent::Entry entry) {
    std::shared_ptr<CEvent> ev;
    {
        std::lock_guard<std::mutex> g(*eventLock);
        auto it = events.find(type);
        if (it == events.end()) {
            return;
        }
        ev = it->second;
    }
    ev->Push(std::move(entry));
}

}  // namespace LumoSim
