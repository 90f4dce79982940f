#pragma once

#include "Node.h"

namespace GenApi {

class CCategoryNode final : public CNode, public virtual ICategory {
public:
    using CNode::CNode;

    void GetFeatures(FeatureList_t& Features) const override;
    INode* GetNode() override { return this; }
    gcstring ToString(bool, bool) override { return Name(); }
    void FromString(const gcstring&, bool) override;
};

}  // namespace GenApi
