#include "camera/CLRemote.h"

namespace VEXOGENICAM {

CCLRemote::CCLRemote() : m_NodeMap("Device") {}

CCLRemote::~CCLRemote() = default;

GenApi::EAccessMode CCLRemote::GetAccessMode() const {
    return m_pInnerPort ? m_pInnerPort->GetAccessMode() : GenApi::NA;
}

void CCLRemote::Read(void* pBuffer, int64_t Address, int64_t Length) {
    if (m_pInnerPort) {
        m_pInnerPort->Read(pBuffer, Address, Length);
    }
}

void CCLRemote::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    if (m_pInnerPort) {
        m_pInnerPort->Write(pBuffer, Address, Length);
    }
}

std::string CCLRemote::GetFileName() {
    return m_strFileName;
}

std::string CCLRemote::GetFileSuffix() {
    return "xml";
}

std::string CCLRemote::GetFileContent() {
    return m_strFileContent;
}

GenApi::INodeMap* CCLRemote::GetNodeMap() {
    return m_strFileContent.empty() ? nullptr : m_NodeMap._Ptr();
}

int CCLRemote::SetParam(const char* /*name*/, const char* /*value*/) {
    return -1;
}

void CCLRemote::StartGrab(unsigned long long /*count*/) {
    ExecuteCommand("AcquisitionStart");
}

void CCLRemote::StopGrab() {
    ExecuteCommand("AcquisitionStop");
}

void CCLRemote::ExecuteCommand(const char* name) {
    GenApi::INodeMap* nodeMap = GetNodeMap();
    if (nodeMap == nullptr) {
        return;
    }
    GenApi::CCommandPtr command = nodeMap->GetNode(name);
    if (command.IsValid()) {
        command->Execute(true);
    }
}

}  // namespace VEXOGENICAM
