#pragma once

#include "Node.h"

namespace GenApi {

// A port node of the description: reads and writes reach the IPort
// connected to it.
class CPortNode final : public CNode, public virtual IPort {
public:
    using CNode::CNode;

    EAccessMode GetAccessMode() const override { return CNode::GetAccessMode(); }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
};

}  // namespace GenApi
