#include "EnumerationNode.h"

namespace GenApi {

void CEnumerationNode::GetSymbolics(StringList_t& Symbolics) {
    Symbolics.clear();
    for (CEnumEntryNode* entry : m_entries) {
        if (IsAvailable(entry)) {
            Symbolics.push_back(entry->GetSymbolic());
        }
    }
}

void CEnumerationNode::GetEntries(NodeList_t& Entries) {
    Entries.assign(m_entries.begin(), m_entries.end());
}

void CEnumerationNode::SetIntValue(int64_t Value, bool Verify) {
    auto lock = Lock();
    RequireWritable(Verify);
    if (Verify) {
        IEnumEntry* entry = GetEntry(Value);
        if (!entry || !IsAvailable(entry)) {
            throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %lld is not an available entry",
                                         Name().c_str(), static_cast<long long>(Value));
        }
    }
    ArvGcEnumeration* node = ARV_GC_ENUMERATION(EngineNode());
    Call(false, [node, Value](GError** e) { arv_gc_enumeration_set_int_value(node, Value, e); });
    AfterWrite(lock);
}

int64_t CEnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
    auto lock = Lock();
    RequireReadable(Verify);
    ArvGcEnumeration* node = ARV_GC_ENUMERATION(EngineNode());
    const int64_t value =
        Call(IgnoreCache, [node](GError** e) { return arv_gc_enumeration_get_int_value(node, e); });
    if (Verify && !GetEntry(value)) {
        throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %lld read matches no entry",
                                     Name().c_str(), static_cast<long long>(value));
    }
    return value;
}

IEnumEntry* CEnumerationNode::GetEntryByName(const gcstring& Symbolic) {
    for (CEnumEntryNode* entry : m_entries) {
        if (entry->GetSymbolic() == Symbolic) {
            return entry;
        }
    }
    return nullptr;
}

IEnumEntry* CEnumerationNode::GetEntry(int64_t IntValue) {
    for (CEnumEntryNode* entry : m_entries) {
        if (entry->GetValue() == IntValue) {
            return entry;
        }
    }
    return nullptr;
}

IEnumEntry* CEnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
    auto lock = Lock();
    return GetEntry(GetIntValue(Verify, IgnoreCache));
}

gcstring CEnumerationNode::ToString(bool Verify, bool IgnoreCache) {
    auto lock = Lock();
    const int64_t value = GetIntValue(Verify, IgnoreCache);
    IEnumEntry* entry = GetEntry(value);
    if (!entry) {
        throw OUT_OF_RANGE_EXCEPTION("Feature '%s': value %lld read matches no entry",
                                     Name().c_str(), static_cast<long long>(value));
    }
    return entry->GetSymbolic();
}

void CEnumerationNode::FromString(const gcstring& ValueStr, bool Verify) {
    auto lock = Lock();
    IEnumEntry* entry = GetEntryByName(ValueStr);
    if (!entry) {
        ThrowInvalidValue(ValueStr.str());
    }
    SetIntValue(entry->GetValue(), Verify);
}

}  // namespace GenApi
