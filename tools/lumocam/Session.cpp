#include "Session.h"

#include <array>
#include <cctype>
#include <charconv>
#include <sstream>
#include <utility>

#include "ExitCodes.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

struct TlName {
    TL_TYPE type;
    const char* option;   // as --tl takes it
    const char* display;  // as list shows it
};
constexpr std::array<TlName, 9> kTlNames{{{TL_GEV, "gev", "GEV"},
                                          {TL_U3V, "u3v", "U3V"},
                                          {TL_CL, "cl", "CL"},
                                          {TL_CXP, "cxp", "CXP"},
                                          {TL_IIDC, "iidc", "IIDC"},
                                          {TL_UVC, "uvc", "UVC"},
                                          {TL_CLHS, "clhs", "CLHS"},
                                          {TL_ETHERNET, "ethernet", "Ethernet"},
                                          {TL_PCI, "pci", "PCI"}}};

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

const char* OpenFailure(int code) {
    switch (code) {
        case result::open::kNoProducer:
            return "no producer serves it";
        case result::open::kDeviceNotOpened:
            return "the device cannot be reached or opened (busy or no access?)";
        case result::open::kNoRemotePort:
            return "it has no remote device port";
        case result::open::kStreamCountFailed:
            return "its data streams cannot be counted";
        case result::open::kNoDataStream:
            return "it has no data stream";
        case result::open::kStreamIdFailed:
            return "its data stream ID cannot be read";
        case result::open::kStreamOpenFailed:
            return "its data stream cannot be opened";
        default:
            return "the producer refused";
    }
}

}  // namespace

CameraRecords::CameraRecords(const std::list<ICameraInfo*>& infos)
    : m_infos(infos.begin(), infos.end()) {}

CameraRecords::~CameraRecords() {
    for (ICameraInfo* info : m_infos) {
        info->Release();
    }
}

void CameraRecords::KeepTlTypes(unsigned long long mask) {
    std::vector<ICameraInfo*> kept;
    for (ICameraInfo* info : m_infos) {
        if ((static_cast<unsigned long long>(info->GetTLType()) & mask) != 0) {
            kept.push_back(info);
        } else {
            info->Release();
        }
    }
    m_infos = std::move(kept);
}

ICameraInfo* CameraRecords::Select(const std::string& serialOrIndex) const {
    for (ICameraInfo* info : m_infos) {
        if (serialOrIndex == info->GetSN()) {
            return info;
        }
    }
    std::size_t index = 0;
    const char* end = serialOrIndex.data() + serialOrIndex.size();
    const auto [stop, error] = std::from_chars(serialOrIndex.data(), end, index);
    if (!serialOrIndex.empty() && error == std::errc() && stop == end && index < m_infos.size()) {
        return m_infos[index];
    }
    throw ToolError(kExitNoCamera, "no camera with serial number or index '" + serialOrIndex +
                                       "' (" + std::to_string(m_infos.size()) +
                                       " found; see `lumocam list`)");
}

void CameraCloser::operator()(ICamera* camera) const noexcept {
    // Close stops a running acquisition and revokes its buffers first.
    camera->Close();
    camera->Release();
}

CameraPtr OpenCamera(ICameraInfo* info, DEVICE_OPEN_MODE mode) {
    CameraPtr camera(CreateCamera(info));
    if (!camera) {
        throw ToolError(kExitFailure, std::string("cannot create a camera for ") + info->GetSN());
    }
    const int rc = camera->Open(mode);
    if (rc != 0) {
        throw ToolError(kExitFailure, std::string("cannot open camera ") + info->GetSN() + ": " +
                                          OpenFailure(rc) + " (code " + std::to_string(rc) + ")");
    }
    return camera;
}

Module ParseModule(const std::string& name) {
    const std::string key = Lower(name);
    if (key == "system" || key == "tl")
        return Module::System;
    if (key == "interface" || key == "if")
        return Module::Interface;
    if (key == "device" || key == "dev")
        return Module::Device;
    if (key == "remote" || key == "rm")
        return Module::Remote;
    if (key == "stream" || key == "ds")
        return Module::Stream;
    throw ToolError(kExitUsage,
                    "unknown module '" + name + "' (system, interface, device, remote or stream)");
}

const char* ModuleName(Module module) {
    switch (module) {
        case Module::System:
            return "system";
        case Module::Interface:
            return "interface";
        case Module::Device:
            return "device";
        case Module::Remote:
            return "remote";
        case Module::Stream:
            return "stream";
    }
    return "?";
}

IXml* ModuleXml(ICamera* camera, Module module) {
    switch (module) {
        case Module::System:
            return camera->GetTLXml();
        case Module::Interface:
            return camera->GetIFXml();
        case Module::Device:
            return camera->GetDEVXml();
        case Module::Remote:
            return camera->GetRMXml();
        case Module::Stream:
            return camera->GetDSXml();
    }
    return nullptr;
}

GenApi::INodeMap& ModuleNodeMap(ICamera* camera, Module module) {
    IXml* xml = ModuleXml(camera, module);
    GenApi::INodeMap* map = xml != nullptr ? xml->GetNodeMap() : nullptr;
    if (map == nullptr) {
        throw ToolError(kExitFailure, std::string("the ") + ModuleName(module) +
                                          " module of this camera has no feature description");
    }
    return *map;
}

std::string TlTypeName(TL_TYPE type) {
    for (const auto& entry : kTlNames) {
        if (entry.type == type) {
            return entry.display;
        }
    }
    return "unknown";
}

std::string AccessStatusName(DEVICE_STATUS status) {
    switch (status) {
        case DEVICE_STATUS_READWRITE:
            return "available";
        case DEVICE_STATUS_READONLY:
            return "read-only";
        case DEVICE_STATUS_NOACCESS:
            return "no access";
        case DEVICE_STATUS_BUSY:
            return "busy";
        case DEVICE_STATUS_OPEN_READWRITE:
            return "open (read/write)";
        case DEVICE_STATUS_OPEN_READONLY:
            return "open (read-only)";
        case DEVICE_STATUS_UNKNOWN:
            break;
    }
    return "unknown";
}

unsigned long long ParseTlMask(const std::string& list) {
    unsigned long long mask = 0;
    std::stringstream items(list);
    std::string item;
    while (std::getline(items, item, ',')) {
        const std::string key = Lower(item);
        bool known = false;
        for (const auto& entry : kTlNames) {
            if (key == entry.option) {
                mask |= static_cast<unsigned long long>(entry.type);
                known = true;
            }
        }
        if (!known) {
            throw ToolError(kExitUsage,
                            "unknown transport layer '" + item +
                                "' (gev, u3v, cl, cxp, iidc, uvc, clhs, ethernet, pci)");
        }
    }
    if (mask == 0) {
        throw ToolError(kExitUsage, "--tl needs at least one transport layer");
    }
    return mask;
}

}  // namespace lumocam
