#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "GenApi/GenApi.h"
#include "IXml.h"
#include "LumoExport.h"

namespace VEXOGENICAM {
class CCti;
}

// The register port of one GenTL module handle (system, interface, device,
// remote device or data stream). GenApi nodes read and write registers through
// it, and it fetches the module's description file from the module's own
// register space on first demand. The port never closes its handle.
class LUMO_API CCtiPort : public GenApi::CPortImpl, public VEXOGENICAM::IXml {
public:
    CCtiPort(VEXOGENICAM::CCti* pCti, void* hPort);
    CCtiPort(const CCtiPort&) = delete;
    CCtiPort& operator=(const CCtiPort&) = delete;

    // Always read-write: the producer decides what an access may do.
    GenApi::EAccessMode GetAccessMode() const override;
    ~CCtiPort() override;
    // Raise GenICam::GenericException ("Read address failed" / "Write address
    // failed") when the producer refuses; a port without producer or handle
    // ignores the access.
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

    std::string GetFileName() override;
    std::string GetFileSuffix() override;
    std::string GetFileContent() override;
    GenApi::INodeMap* GetNodeMap() override;

    VEXOGENICAM::CCti* GetCti() { return m_pCti; }
    void* GetPort() { return m_hPort; }

    // Loads the description named by the module's first port URL (local URLs
    // only) and connects this port to every port node of the new node map.
    bool SetXml();

private:
    // One attempt per port: a failed load is not retried. Safe from several
    // threads: the system and interface ports are shared by every camera.
    void init();

    VEXOGENICAM::CCti* m_pCti;
    void* m_hPort;
    // Set once the load has finished, so that a reader that sees it also sees
    // the strings and the node map.
    std::atomic<bool> m_bInit{false};
    std::mutex m_initLock;
    std::string m_strFileName;
    std::string m_strFileSuffix;
    std::string m_strFileContent;
    GenApi::CNodeMapRef m_NodeMap;
};
