#pragma once

#include "INodeMap.h"

namespace GenApi {

// Base for application-side ports. Registers the port is asked to replay are
// written through the port itself.
class GENAPI_DECL CPortImpl : public IPortConstruct, public IPortReplay {
public:
    CPortImpl() = default;
    ~CPortImpl() override = default;

    EAccessMode GetAccessMode() const override = 0;
    void Read(void* pBuffer, int64_t Address, int64_t Length) override = 0;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override = 0;

    void SetPortImpl(IPort* pPort) override { m_pPortImpl = pPort; }
    EYesNo GetSwapEndianess() override { return No; }
    void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override;

protected:
    IPort* m_pPortImpl = nullptr;
};

}  // namespace GenApi
