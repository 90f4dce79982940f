#pragma once

#include "Node.h"

namespace GenApi {

class CBooleanNode final : public CNode, public virtual IBoolean {
public:
    using CNode::CNode;

    void SetValue(bool Value, bool Verify = true) override;
    bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;
    INode* GetNode() override { return this; }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const gcstring& ValueStr, bool Verify = true) override;
};

}  // namespace GenApi
