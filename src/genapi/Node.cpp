#include "Node.h"

namespace GenApi {

namespace {

gcstring Text(const char* s) {
    return gcstring(s ? s : "");
}

EAccessMode FromEngine(ArvGcAccessMode mode) {
    switch (mode) {
        case ARV_GC_ACCESS_MODE_RO:
            return RO;
        case ARV_GC_ACCESS_MODE_WO:
            return WO;
        case ARV_GC_ACCESS_MODE_RW:
            return RW;
        default:
            return RO;
    }
}

}  // namespace

CNode::CNode(CNodeMap& map, ArvGcFeatureNode* node, std::string name, EInterfaceType type)
    : m_map(map), m_node(node), m_name(std::move(name)), m_type(type) {}

EAccessMode CNode::GetAccessMode() const {
    auto lock = Lock();
    ArvGcFeatureNode* node = m_node;
    // Every condition is read anew after an invalidation, not only the first,
    // and the node's own value still is on its next read.
    const uint64_t seen = m_seenGeneration;
    const bool fresh = seen != m_map.Generation();
    struct KeepSeen {
        uint64_t& generation;
        uint64_t value;
        ~KeepSeen() { generation = value; }
    } keepSeen{m_seenGeneration, seen};
    if (!Call(fresh, [node](GError** e) { return arv_gc_feature_node_is_implemented(node, e); })) {
        return NI;
    }
    if (!Call(fresh, [node](GError** e) { return arv_gc_feature_node_is_available(node, e); })) {
        return NA;
    }
    const EAccessMode mode = FromEngine(arv_gc_feature_node_get_actual_access_mode(node));
    if (mode == RO) {
        return RO;
    }
    const bool locked =
        Call(fresh, [node](GError** e) { return arv_gc_feature_node_is_locked(node, e); });
    if (!locked) {
        return mode;
    }
    return mode == RW ? RO : NA;
}

gcstring CNode::GetName(bool FullQualified) const {
    return FullQualified ? gcstring(m_map.GetDeviceName() + "::" + m_name.c_str())
                         : gcstring(m_name);
}

gcstring CNode::GetDescription() const {
    auto lock = Lock();
    return Text(arv_gc_feature_node_get_description(m_node));
}

gcstring CNode::GetToolTip() const {
    auto lock = Lock();
    return Text(arv_gc_feature_node_get_tooltip(m_node));
}

gcstring CNode::GetDisplayName() const {
    auto lock = Lock();
    const char* display = arv_gc_feature_node_get_display_name(m_node);
    return display && *display ? gcstring(display) : gcstring(m_name);
}

EVisibility CNode::GetVisibility() const {
    auto lock = Lock();
    switch (arv_gc_feature_node_get_visibility(m_node)) {
        case ARV_GC_VISIBILITY_INVISIBLE:
            return Invisible;
        case ARV_GC_VISIBILITY_GURU:
            return Guru;
        case ARV_GC_VISIBILITY_EXPERT:
            return Expert;
        case ARV_GC_VISIBILITY_BEGINNER:
            return Beginner;
        default:
            return Beginner;
    }
}

bool CNode::IsFeature() const {
    return m_type != intfIPort && m_type != intfIEnumEntry && m_type != intfIBase;
}

bool CNode::IsSelector() const {
    auto lock = Lock();
    return ARV_IS_GC_SELECTOR(m_node) && arv_gc_selector_is_selector(ARV_GC_SELECTOR(m_node));
}

void CNode::GetSelectedFeatures(FeatureList_t& features) const {
    features.clear();
    auto lock = Lock();
    if (!ARV_IS_GC_SELECTOR(m_node)) {
        return;
    }
    for (const GSList* it = arv_gc_selector_get_selected_features(ARV_GC_SELECTOR(m_node)); it;
         it = it->next) {
        if (auto* value = dynamic_cast<IValue*>(m_map.Wrap(static_cast<ArvGcNode*>(it->data)))) {
            features.push_back(value);
        }
    }
}

void CNode::GetSelectingFeatures(FeatureList_t& features) const {
    m_map.GetSelecting(m_node, features);
}

bool CNode::IsStreamable() const {
    auto lock = Lock();
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(m_node)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_PROPERTY_NODE(child) &&
            arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child)) ==
                ARV_GC_PROPERTY_NODE_TYPE_STREAMABLE) {
            return arv_gc_property_node_get_streamable(
                       ARV_GC_PROPERTY_NODE(child), ARV_GC_STREAMABLE_NO) == ARV_GC_STREAMABLE_YES;
        }
    }
    return false;
}

void CNode::AfterWrite(std::unique_lock<std::recursive_mutex>& lock) const {
    const std::vector<CCallbackList::Entry> pending = m_map.Changed(m_node, IsSelector());
    lock.unlock();
    m_map.Fire(pending);
}

void CNode::RequireReadable(bool verify) const {
    if (verify && !IsReadable(GetAccessMode())) {
        throw ACCESS_EXCEPTION("Node '%s' is not readable", m_name.c_str());
    }
}

void CNode::RequireWritable(bool verify) const {
    if (verify && !IsWritable(GetAccessMode())) {
        throw ACCESS_EXCEPTION("Node '%s' is not writable", m_name.c_str());
    }
}

void CNode::ThrowInvalidValue(const std::string& value) const {
    throw INVALID_ARGUMENT_EXCEPTION(
        "Feature '%s' : cannot convert value '%s', the value is invalid", m_name.c_str(),
        value.c_str());
}

}  // namespace GenApi
