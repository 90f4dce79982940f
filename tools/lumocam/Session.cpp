#include "Session.h"

#include <cctype>
#include <charconv>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "ExitCodes.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

// Whether the record says that someone else has the device, so that an open
// refused for `mode` is the other application's doing, not a fault.
bool HeldElsewhere(DEVICE_STATUS status, DEVICE_OPEN_MODE mode) {
    return status == DEVICE_STATUS_BUSY || status == DEVICE_STATUS_NOACCESS ||
           (status == DEVICE_STATUS_READONLY && mode != DEVICE_OPEN_MODE_READONLY);
}

}  // namespace

CameraRecords::CameraRecords(const std::list<ICameraInfo*>& infos)
    : m_infos(infos.begin(), infos.end()) {}

CameraRecords::~CameraRecords() {
    for (ICameraInfo* info : m_infos) {
        info->Release();
    }
}

std::vector<std::size_t> CameraRecords::IndicesOfTlTypes(unsigned long long mask) const {
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < m_infos.size(); ++i) {
        if ((static_cast<unsigned long long>(m_infos[i]->GetTLType()) & mask) != 0) {
            kept.push_back(i);
        }
    }
    return kept;
}

namespace {

std::string Text(const char* value) {
    return value != nullptr ? value : "";
}

bool ParseIndex(const std::string& text, std::size_t& index) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, index);
    return !text.empty() && error == std::errc() && stop == end;
}

// What a camera is matched by: the record field a selector prefix names.
struct Key {
    const char* prefix;
    const char* what;
    std::string (*field)(ICameraInfo*);
};
const Key kKeys[] = {
    {"sn:", "serial number", [](ICameraInfo* info) { return Text(info->GetSN()); }},
    {"name:", "user name", [](ICameraInfo* info) { return Text(info->GetUserDefineName()); }},
    {"ip:", "IP address", [](ICameraInfo* info) { return Text(info->GetExInfo(EX_INFO_IP)); }},
};

}  // namespace

std::string CameraRecords::Describe(std::size_t index) const {
    ICameraInfo* info = m_infos.at(index);
    return "#" + std::to_string(index) + " serial " + Text(info->GetSN()) + ", model " +
           Text(info->GetModel()) + ", " + TlTypeName(info->GetTLType()) + ", device ID " +
           Text(info->GetID()) + ", vendor " + Text(info->GetManufacture());
}

std::vector<std::size_t> CameraRecords::Matching(const std::string& value,
                                                 std::string (*field)(ICameraInfo*)) const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < m_infos.size(); ++i) {
        if (!value.empty() && field(m_infos[i]) == value) {
            found.push_back(i);
        }
    }
    return found;
}

ICameraInfo* CameraRecords::Unique(const std::string& selector,
                                   const std::vector<std::size_t>& found) const {
    if (found.size() == 1) {
        return m_infos[found.front()];
    }
    std::string message = "'" + selector + "' matches " + std::to_string(found.size()) +
                          " cameras; name one with sn:, name:, ip: or index:";
    for (std::size_t index : found) {
        message += "\n  " + Describe(index);
    }
    throw ToolError(kExitUsage, message);
}

ICameraInfo* CameraRecords::Select(const std::string& selector) const {
    const std::string count = std::to_string(m_infos.size()) + " found; see `lumocam list`";
    std::size_t index = 0;
    const bool explicitIndex = selector.rfind("index:", 0) == 0;
    if (explicitIndex || ParseIndex(selector, index)) {
        if (explicitIndex && !ParseIndex(selector.substr(6), index)) {
            throw ToolError(kExitUsage, "'" + selector + "': index: needs a number, e.g. index:0");
        }
        if (index >= m_infos.size()) {
            throw ToolError(kExitNoCamera,
                            "no camera at index " + std::to_string(index) + " (" + count + ")");
        }
        // A number that is also another camera's serial number must not pick
        // one of the two silently.
        std::vector<std::size_t> found{index};
        if (!explicitIndex) {
            for (std::size_t other : Matching(selector, kKeys[0].field)) {
                if (other != index) {
                    found.push_back(other);
                }
            }
        }
        return Unique(selector, found);
    }
    for (const Key& key : kKeys) {
        if (selector.rfind(key.prefix, 0) == 0) {
            const std::string value = selector.substr(std::strlen(key.prefix));
            const auto found = Matching(value, key.field);
            if (found.empty()) {
                throw ToolError(kExitNoCamera, std::string("no camera with ") + key.what + " '" +
                                                   value + "' (" + count + ")");
            }
            return Unique(selector, found);
        }
    }
    // A bare word: serial number first, then user name, then IP address.
    for (const Key& key : kKeys) {
        const auto found = Matching(selector, key.field);
        if (!found.empty()) {
            return Unique(selector, found);
        }
    }
    throw ToolError(kExitNoCamera, "no camera with serial number, user name or IP address '" +
                                       selector + "' (" + count + ")");
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
    if (rc == result::open::kDeviceNotOpened && HeldElsewhere(info->GetAccessStatus(), mode)) {
        const DEVICE_STATUS status = info->GetAccessStatus();
        throw ToolError(kExitCameraBusy,
                        std::string("camera ") + info->GetSN() +
                            " is held by another application (access status: " +
                            AccessStatusName(status) + "); " +
                            (status == DEVICE_STATUS_READONLY
                                 ? "commands that only read (get, info, describe, xml, save) work"
                                 : "close it there first"));
    }
    if (rc != 0) {
        throw ToolError(kExitFailure, std::string("cannot open camera ") + info->GetSN() + ": " +
                                          lumoclient::OpenFailure(rc) + " (code " +
                                          std::to_string(rc) + ")");
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

CameraPtr OpenForReading(ICameraInfo* info) {
    // Read-only access is enough to look, and leaves the camera to others;
    // producers that refuse it get a control open instead.
    try {
        return OpenCamera(info, DEVICE_OPEN_MODE_READONLY);
    } catch (const ToolError& e) {
        if (e.Code() == kExitCameraBusy && info->GetAccessStatus() != DEVICE_STATUS_READONLY) {
            throw;
        }
        return OpenCamera(info, DEVICE_OPEN_MODE_CONTROL);
    }
}

Session::Session(const std::string& selector, Access access) : m_records(Discovery(nullptr)) {
    ICameraInfo* info = m_records.Select(selector);
    m_camera =
        access == Access::Read ? OpenForReading(info) : OpenCamera(info, DEVICE_OPEN_MODE_CONTROL);
}

GenApi::INodeMap& ModuleNodeMap(ICamera* camera, Module module) {
    GenApi::INodeMap* map = lumoclient::NodeMapOf(camera, module);
    if (map == nullptr) {
        throw ToolError(kExitFailure, std::string("the ") + ModuleName(module) +
                                          " module of this camera has no feature description");
    }
    return *map;
}

unsigned long long ParseTlMask(const std::string& list) {
    unsigned long long mask = 0;
    try {
        mask = lumoclient::ParseTlMask(list);
    } catch (const std::invalid_argument& e) {
        throw ToolError(kExitUsage, e.what());
    }
    if (mask == 0) {
        throw ToolError(kExitUsage, "--tl needs at least one transport layer");
    }
    return mask;
}

}  // namespace lumocam
