#pragma once

#include "INode.h"

namespace GenApi {

struct GENAPI_DECL IPort : virtual public IBase {
    virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

struct GENAPI_DECL IPortWriteList {
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
    virtual void Replay(IPort* pPort) = 0;
    virtual void SetCookie(const int64_t Value) = 0;
    virtual int64_t GetCookie() = 0;
    virtual ~IPortWriteList() = default;
};

struct GENAPI_DECL IPortConstruct : virtual public IPort {
    virtual void SetPortImpl(IPort* pPort) = 0;
    virtual EYesNo GetSwapEndianess() = 0;
};

struct GENAPI_DECL IPortReplay : virtual public IPort {
    virtual void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) = 0;
};

}  // namespace GenApi
