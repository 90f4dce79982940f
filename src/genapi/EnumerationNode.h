#pragma once

#include <vector>

#include "EnumEntryNode.h"

namespace GenApi {

class CEnumerationNode final : public CNode, public virtual IEnumeration {
public:
    using CNode::CNode;

    void GetSymbolics(StringList_t& Symbolics) override;
    void GetEntries(NodeList_t& Entries) override;
    void SetIntValue(int64_t Value, bool Verify = true) override;
    int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
    IEnumEntry* GetEntryByName(const gcstring& Symbolic) override;
    IEnumEntry* GetEntry(int64_t IntValue) override;
    IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;
    INode* GetNode() override { return this; }
    gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const gcstring& ValueStr, bool Verify = true) override;

    void AddEntry(CEnumEntryNode* entry) { m_entries.push_back(entry); }

private:
    std::vector<CEnumEntryNode*> m_entries;
};

}  // namespace GenApi
