#pragma once

#include <string>
#include <unordered_map>

#include "ICameraInfo.h"
#include "LumoExport.h"
#include "Ref.h"

class CCtiPort;

namespace VEXOGENICAM {

class CCti;

// The device record made by discovery. Reference-counted: the producer holds
// one reference for its latest discovery, every list handed out adds one.
class LUMO_API CCameraInfo : public ICameraInfo, public CRef {
public:
    explicit CCameraInfo(CCti* cti);

    TL_TYPE GetTLType() override { return m_tlType; }
    DEVICE_STATUS GetAccessStatus() override { return m_accessStatus; }
    const char* GetID() override { return m_id.c_str(); }
    const char* GetSN() override { return m_sn.c_str(); }
    const char* GetManufacture() override { return m_manufacture.c_str(); }
    const char* GetModel() override { return m_model.c_str(); }
    const char* GetDisplayName() override { return m_displayName.c_str(); }
    const char* GetUserDefineName() override { return m_userDefineName.c_str(); }
    const char* GetVersion() override { return m_version.c_str(); }
    long long GetTimestampFrequency() override { return m_timestampFrequency; }
    const char* GetExInfo(EX_INFOID id) override;
    void Release() override { CRef::Release(); }

    void SetTLType(TL_TYPE type) { m_tlType = type; }
    void SetAccessStatus(DEVICE_STATUS status) { m_accessStatus = status; }
    void SetID(const std::string& v) { m_id = v; }
    void SetSN(const std::string& v) { m_sn = v; }
    void SetManufacture(const std::string& v) { m_manufacture = v; }
    void SetModel(const std::string& v) { m_model = v; }
    void SetDisplayName(const std::string& v) { m_displayName = v; }
    void SetUserDefineName(const std::string& v) { m_userDefineName = v; }
    void SetVersion(const std::string& v) { m_version = v; }
    void SetTimestampFrequency(long long v) { m_timestampFrequency = v; }
    void SetExInfo(EX_INFOID id, const std::string& v) { m_exInfo[id] = v; }
    void SetIFPort(CCtiPort* port) { m_pIFPort = port; }

    CCti* GetCti() { return m_pCti; }
    CCtiPort* GetIFPort() { return m_pIFPort; }

    // Same producer, TL type, ID, serial, vendor and model; for GigE Vision
    // also the same IP and MAC (both absent counts as the same).
    bool Equal(CCameraInfo* other);

private:
    TL_TYPE m_tlType = TL_UNKNOWN;
    DEVICE_STATUS m_accessStatus = DEVICE_STATUS_UNKNOWN;
    std::string m_id;
    std::string m_sn;
    std::string m_manufacture;
    std::string m_model;
    std::string m_displayName;
    std::string m_userDefineName;
    std::string m_version;
    long long m_timestampFrequency = 0;
    std::unordered_map<int, std::string> m_exInfo;
    CCti* m_pCti;
    CCtiPort* m_pIFPort = nullptr;
};

}  // namespace VEXOGENICAM
