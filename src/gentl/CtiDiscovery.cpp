// Device enumeration of one producer: the walk over interfaces and devices,
// the device records and the look-up by serial number.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "CtiPort.h"
#include "gentl/CameraInfo.h"
#include "Cti.h"

namespace VEXOGENICAM {

namespace {

constexpr size_t kInfoBufferSize = 1024;

// GigE Vision network values that producers report under their own commands.
constexpr int kGevMac = 1100;
constexpr int kGevIp = 1101;
constexpr int kGevText = 1104;

}  // namespace

bool CCti::DiscoveryCameras(std::list<CCameraInfo*>& out) {
    if (m_portsIF.empty()) {
        return false;
    }
    for (CCtiPort* port : m_portsIF) {
        if (port == nullptr) {
            continue;
        }
        void* hIF = port->GetPort();
        bool changed = false;
        if (IFUpdateDeviceList(hIF, &changed, 1000) != 0) {
            return false;
        }
        uint32_t count = 0;
        // An interface without devices ends the whole walk, as it always has.
        if (IFGetNumDevices(hIF, &count) != 0 || count == 0) {
            return false;
        }
        char id[kInfoBufferSize];
        std::memset(id, 0, sizeof id);
        for (uint32_t j = 0; j < count; ++j) {
            size_t size = sizeof id;
            if (IFGetDeviceID(hIF, j, id, &size) != 0) {
                continue;
            }
            id[sizeof id - 1] = '\0';
            auto* info = new CCameraInfo(this);
            info->SetIFPort(port);
            info->SetID(id);
            SetCameraInfo(info, id);
            out.push_back(info);
        }
    }
    return true;
}

void CCti::SetCameraInfo(CCameraInfo* info, const char* deviceId) {
    if (info == nullptr || info->GetIFPort() == nullptr) {
        return;
    }
    void* hIF = info->GetIFPort()->GetPort();
    char buffer[kInfoBufferSize + 1];
    std::memset(buffer, 0, sizeof buffer);
    size_t size = 0;
    int type = 0;
    // One query into the shared buffer; the text is terminated where the
    // producer says it ends.
    auto query = [&](int cmd) {
        size = kInfoBufferSize;
        if (IFGetDeviceInfo(hIF, deviceId, cmd, &type, buffer, &size) != 0) {
            return false;
        }
        buffer[std::min(size, kInfoBufferSize)] = '\0';
        return true;
    };

    if (query(GenTL::DEVICE_INFO_VENDOR)) {
        info->SetManufacture(buffer);
    }
    if (query(GenTL::DEVICE_INFO_TLTYPE)) {
        info->SetTLType(GetTLType(buffer));
    }
    if (GetTLType(buffer) == TL_GEV) {
        char text[256];
        if (query(kGevMac)) {
            const auto* b = reinterpret_cast<const unsigned char*>(buffer);
            std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", b[5], b[4], b[3],
                          b[2], b[1], b[0]);
            info->SetExInfo(EX_INFO_MAC, text);
        }
        const struct {
            int cmd;
            EX_INFOID key;
        } addresses[] = {{kGevIp, EX_INFO_IP},       {1102, EX_INFO_NET_ADDR_3},
                         {1103, EX_INFO_NET_ADDR_4}, {kGevText, EX_INFO_NET_TEXT_5},
                         {1105, EX_INFO_NET_ADDR_6}, {1106, EX_INFO_NET_ADDR_7}};
        for (const auto& a : addresses) {
            if (!query(a.cmd)) {
                continue;
            }
            if (a.cmd == kGevText) {
                info->SetExInfo(a.key, buffer);
            } else if (inet_ntop(AF_INET, buffer, text, sizeof text) != nullptr) {
                info->SetExInfo(a.key, text);
            }
        }
    }
    if (query(GenTL::DEVICE_INFO_MODEL)) {
        info->SetModel(buffer);
    }
    if (query(GenTL::DEVICE_INFO_DISPLAYNAME)) {
        info->SetDisplayName(buffer);
    }
    if (query(GenTL::DEVICE_INFO_USER_DEFINED_NAME)) {
        info->SetUserDefineName(buffer);
    }
    if (query(GenTL::DEVICE_INFO_SERIAL_NUMBER)) {
        info->SetSN(buffer);
    }
    if (query(GenTL::DEVICE_INFO_VERSION)) {
        info->SetVersion(buffer);
    }
    if (query(GenTL::DEVICE_INFO_ACCESS_STATUS)) {
        int32_t status = 0;
        std::memcpy(&status, buffer, sizeof status);
        info->SetAccessStatus(static_cast<DEVICE_STATUS>(status));
    }
    if (query(GenTL::DEVICE_INFO_TIMESTAMP_FREQUENCY)) {
        int64_t frequency = 0;
        std::memcpy(&frequency, buffer, sizeof frequency);
        info->SetTimestampFrequency(frequency);
    }
}

void CCti::DiscoveryDevices(std::list<ICameraInfo*>* result) {
    std::list<CCameraInfo*> found;
    if (!DiscoveryCameras(found)) {
        for (CCameraInfo* info : found) {
            info->Release();
        }
        return;
    }
    {
        std::lock_guard<std::mutex> guard(m_lock);
        ReleaseCamInfos();
        m_camInfos = found;
        // References for the caller are taken while the producer still holds
        // its own, so no concurrent discovery can free a record in between.
        if (result != nullptr) {
            for (CCameraInfo* info : found) {
                info->Ref();
                result->push_back(info);
            }
        }
    }
}

ICameraInfo* CCti::QueryCameraInfo(const std::string& serialNumber) {
    std::lock_guard<std::mutex> guard(m_lock);
    for (CCameraInfo* info : m_camInfos) {
        if (serialNumber == info->GetSN()) {
            info->Ref();
            return info;
        }
    }
    return nullptr;
}

}  // namespace VEXOGENICAM
