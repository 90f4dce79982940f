#include "CommandNode.h"

namespace GenApi {

namespace {

ArvGcPropertyNode* FindProperty(ArvGcFeatureNode* node, ArvGcPropertyNodeType direct,
                                ArvGcPropertyNodeType pointer) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_GC_PROPERTY_NODE(child)) {
            continue;
        }
        const ArvGcPropertyNodeType type =
            arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child));
        if (type == direct || type == pointer) {
            return ARV_GC_PROPERTY_NODE(child);
        }
    }
    return nullptr;
}

}  // namespace

void CCommandNode::Execute(bool Verify) {
    auto lock = Lock();
    RequireWritable(Verify);
    ArvGcCommand* node = ARV_GC_COMMAND(EngineNode());
    Call(false, [node](GError** e) { arv_gc_command_execute(node, e); });
    AfterWrite(lock);
}

// Done once the command register no longer holds the value that triggered it.
bool CCommandNode::IsDone(bool Verify) {
    auto lock = Lock();
    RequireReadable(Verify);
    ArvGcPropertyNode* value = FindProperty(EngineNode(), ARV_GC_PROPERTY_NODE_TYPE_VALUE,
                                            ARV_GC_PROPERTY_NODE_TYPE_P_VALUE);
    ArvGcPropertyNode* command = FindProperty(EngineNode(), ARV_GC_PROPERTY_NODE_TYPE_COMMAND_VALUE,
                                              ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE);
    if (!value || !command) {
        return true;
    }
    const gint64 current =
        Call(true, [value](GError** e) { return arv_gc_property_node_get_int64(value, e); });
    const gint64 trigger =
        Call(false, [command](GError** e) { return arv_gc_property_node_get_int64(command, e); });
    return current != trigger;
}

gcstring CCommandNode::ToString(bool, bool) {
    throw LOGICAL_ERROR_EXCEPTION("Feature '%s': a command has no value to read", Name().c_str());
}

void CCommandNode::FromString(const gcstring&, bool) {
    throw LOGICAL_ERROR_EXCEPTION("Feature '%s': a command takes no value", Name().c_str());
}

}  // namespace GenApi
