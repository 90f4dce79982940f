#pragma once

#include "INode.h"
#include "IPort.h"

namespace GenApi {

// A recursive lock; the node map holds it around every engine call.
struct GENAPI_DECL ILock {
    virtual void Lock() = 0;
    virtual void Unlock() = 0;
    virtual bool TryLock() = 0;

protected:
    virtual ~ILock() = default;
};

struct GENAPI_DECL INodeMap {
    virtual void GetNodes(NodeList_t& Nodes) const = 0;
    virtual INode* GetNode(const gcstring& Name) const = 0;
    virtual void InvalidateNodes() const = 0;
    virtual bool Connect(IPort* pPort, const gcstring& PortName) const = 0;
    virtual bool Connect(IPort* pPort) const = 0;
    virtual gcstring GetDeviceName() = 0;
    virtual void Poll(int64_t ElapsedTime) = 0;
    virtual ILock& GetLock() const = 0;
    virtual uint64_t GetNumNodes() const = 0;

protected:
    virtual ~INodeMap() = default;
};

}  // namespace GenApi
