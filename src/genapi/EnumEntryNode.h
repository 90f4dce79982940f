#pragma once

#include "Node.h"

namespace GenApi {

// Listed as "EnumEntry_<Enumeration>_<Symbolic>", the name GenApi gives entries.
class CEnumEntryNode final : public CNode, public virtual IEnumEntry {
public:
    CEnumEntryNode(CNodeMap& map, ArvGcFeatureNode* node, const std::string& enumeration,
                   std::string symbolic);

    int64_t GetValue() override;
    gcstring GetSymbolic() const override { return m_symbolic; }
    INode* GetNode() override { return this; }
    gcstring ToString(bool, bool) override { return m_symbolic; }
    void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
    std::string m_symbolic;
};

}  // namespace GenApi
