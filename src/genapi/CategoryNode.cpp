#include "CategoryNode.h"

namespace GenApi {

void CCategoryNode::GetFeatures(FeatureList_t& Features) const {
    Features.clear();
    auto lock = Lock();
    for (const GSList* it = arv_gc_category_get_features(ARV_GC_CATEGORY(EngineNode())); it;
         it = it->next) {
        if (auto* value =
                dynamic_cast<IValue*>(Map().GetNode(static_cast<const char*>(it->data)))) {
            Features.push_back(value);
        }
    }
}

void CCategoryNode::FromString(const gcstring&, bool) {
    throw ACCESS_EXCEPTION("Feature '%s': a category takes no value", Name().c_str());
}

}  // namespace GenApi
