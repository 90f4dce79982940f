#pragma once

#include "Node.h"

namespace GenApi {

class CCommandNode final : public CNode, public virtual ICommand {
public:
    using CNode::CNode;

    void Execute(bool Verify = true) override;
    bool IsDone(bool Verify = true) override;
    INode* GetNode() override { return this; }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const gcstring& ValueStr, bool Verify = true) override;
};

}  // namespace GenApi
