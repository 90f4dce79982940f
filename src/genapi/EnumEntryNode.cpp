#include "EnumEntryNode.h"

namespace GenApi {

CEnumEntryNode::CEnumEntryNode(CNodeMap& map, ArvGcFeatureNode* node,
                               const std::string& enumeration, std::string symbolic)
    : CNode(map, node, "EnumEntry_" + enumeration + "_" + symbolic, intfIEnumEntry),
      m_symbolic(std::move(symbolic)) {}

int64_t CEnumEntryNode::GetValue() {
    ArvGcEnumEntry* entry = ARV_GC_ENUM_ENTRY(EngineNode());
    return Call(false, [entry](GError** e) { return arv_gc_enum_entry_get_value(entry, e); });
}

void CEnumEntryNode::FromString(const gcstring&, bool) {
    throw ACCESS_EXCEPTION("Feature '%s': an enumeration entry is read-only", Name().c_str());
}

}  // namespace GenApi
