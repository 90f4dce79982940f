#pragma once

#include <cstddef>
#include <memory>

#include "Pointer.h"

namespace GenApi {

// Holder of one node map. Copies share the same map; the map lives until the
// last holder is destroyed or _Destroy is called.
class GENAPI_DECL CNodeMapRef {
public:
    explicit CNodeMapRef(const gcstring& DeviceName = "Device");
    CNodeMapRef(const CNodeMapRef& other);
    CNodeMapRef& operator=(const CNodeMapRef& other);
    virtual ~CNodeMapRef();

    virtual void _LoadXMLFromFile(const gcstring& FileName);
    virtual void _LoadXMLFromString(const gcstring& XMLData);
    virtual void _LoadXMLFromZIPData(const void* zipData, size_t zipSize);
    virtual void _LoadXMLFromZIPFile(const gcstring& ZipFileName);

    virtual void _GetNodes(NodeList_t& Nodes) const;
    virtual INode* _GetNode(const gcstring& Name) const;
    virtual bool _Connect(IPort* pPort, const gcstring& PortName) const;
    virtual bool _Connect(IPort* pPort) const;
    virtual void _InvalidateNodes() const;
    virtual void _Poll(int64_t ElapsedTime);
    virtual void _Destroy();
    virtual gcstring _GetDeviceName() const;

    INodeMap* _Ptr() const { return m_pMap.get(); }
    INodeMap* operator->() const;

private:
    void RequireEmpty() const;
    void RequireMap() const;
    void Adopt(std::shared_ptr<INodeMap> map);

    gcstring m_deviceName;
    std::shared_ptr<INodeMap> m_pMap;
};

}  // namespace GenApi
