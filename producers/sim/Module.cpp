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
    xmlSize = AddPadding(file);
    xmlAddress = 0x100000;
    regs.Add(xmlAddress, std::move(file), true, false);
    char buf[256];
    std::snprintf(buf, sizeof buf, "Local:%s;%llX;%llX", name.c_str(),
                  static_cast<unsigned long long>(xmlAddress),
                  static_cast<unsigned long long>(xmlSize));
    url = desc.urlOverride.empty() ? std::string(buf) : desc.urlOverride;
}

size_t CModule::AddPadding(std::vector<uint8_t>& file) const {
    const size_t content = file.size();
    if (desc.padding == "none") {
        return content;
    }
    // Devices that round their file area up pad after the declared length; others declare the
    // rounded length, so the padding is read with the file.
    const bool inside = desc.padding == "nulInside" || desc.padding == "ffInside";
    const bool nul = desc.padding == "nul" || desc.padding == "nulInside";
    file.resize(content + kPaddingBytes, nul ? 0x00 : 0xFF);
    return inside ? file.size() : content;
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
