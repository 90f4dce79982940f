#pragma once

#include <memory>
#include <string>

#include "GenApi/GenApi.h"
#include "IXml.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

// Stands in for the remote-device port that a Camera Link frame grabber does
// not offer: a GenApi port and description file of the camera head, reached
// through a channel of its own. Configuring that channel is not available
// yet, so SetParam always fails and an instance never gets a node map.
class LUMO_API CCLRemote : public GenApi::CPortImpl, public IXml {
public:
    CCLRemote();
    CCLRemote(const CCLRemote&) = delete;
    CCLRemote& operator=(const CCLRemote&) = delete;

    // NA until a channel to the camera head exists.
    GenApi::EAccessMode GetAccessMode() const override;
    ~CCLRemote() override;
    // Forwarded to the channel; without one the access is ignored.
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

    std::string GetFileName() override;
    // Always lower case, unlike the producer ports.
    std::string GetFileSuffix() override;
    std::string GetFileContent() override;
    GenApi::INodeMap* GetNodeMap() override;

    // Configures the channel to the camera head: -1, not available.
    int SetParam(const char* name, const char* value);
    // Execute "AcquisitionStart" / "AcquisitionStop" on the camera head when
    // it has them; GenApi exceptions reach the caller.
    void StartGrab(unsigned long long count);
    void StopGrab();

private:
    void ExecuteCommand(const char* name);

    std::unique_ptr<GenApi::IPort> m_pInnerPort;
    std::string m_strFileContent;
    // The parameters the channel was configured with.
    std::string m_strParam;
    std::string m_strFileName;
    GenApi::CNodeMapRef m_NodeMap;
};

}  // namespace VEXOGENICAM
